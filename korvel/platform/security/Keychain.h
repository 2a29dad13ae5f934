#pragma once

#include <korvel/platform/foundation/Data.h>
#include <korvel/platform/foundation/Export.h>

#include <cstdint>
#include <optional>
#include <string>

namespace korvel::platform {

using OSStatus = std::int32_t;

inline constexpr OSStatus errSecSuccess = 0;
inline constexpr OSStatus errSecIO = -36;
inline constexpr OSStatus errSecParam = -50;
inline constexpr OSStatus errSecNotAvailable = -25291;
inline constexpr OSStatus errSecAuthFailed = -25293;
inline constexpr OSStatus errSecDuplicateItem = -25299;
inline constexpr OSStatus errSecItemNotFound = -25300;
inline constexpr OSStatus errSecDecode = -26275;

/// What a keychain call is about: generic passwords, the only class there is, of one account or of
/// all.
struct SecItemQuery {
    std::optional<std::string> account = {};
    std::optional<Data> valueData = {};
    bool returnData = false;
    bool matchLimitOne = false;
};

/// The application's secrets, one item per account. Items of other applications are out of reach.
///
/// Thread safety: any thread, and any number of processes of the same application and user. Each
/// call is atomic and lasts: what it stored is there after the process is killed.
class KORVEL_API Keychain {
public:
    virtual ~Keychain();
    /// Adds an item with the query's account and value. `errSecDuplicateItem` if the account has
    /// one, `errSecParam` without account; an absent value is stored as empty.
    virtual OSStatus SecItemAdd(const SecItemQuery& query) = 0;
    /// Finds the item of the account (any item without one). On success, and only if the query asks
    /// for data, `result` holds its bytes; else it is reset. `errSecItemNotFound`, `errSecDecode`
    /// for an item whose seal is broken.
    virtual OSStatus SecItemCopyMatching(const SecItemQuery& query,
                                         std::optional<Data>& result) = 0;
    /// Deletes the account's item, or every item if the query names no account; the query's value
    /// takes no part in the match. `errSecItemNotFound` if there was none.
    virtual OSStatus SecItemDelete(const SecItemQuery& query) = 0;
};

}  // namespace korvel::platform
