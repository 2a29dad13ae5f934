#pragma once

#include "storage/TemporaryFolder.h"
#include "support/FakeKeychain.h"

#include <korvel/platform/backends/sqlite/KeychainSQLite.h>

#include <memory>
#include <optional>
#include <string>

namespace korvel::tests {

/// A place that items are kept in. `open` gives a keychain on it, several at once if asked;
/// `missing` says why this machine cannot have the place, or nothing.
struct FakeStore {
    std::string missing() const { return {}; }
    std::shared_ptr<platform::Keychain> open() const { return keychain; }
    std::shared_ptr<FakeKeychain> keychain = std::make_shared<FakeKeychain>();
};

struct SQLiteStore {
    std::string missing() const { return {}; }
    std::shared_ptr<platform::Keychain> open() const {
        return platform::makeKeychainSQLite(folder / "store");
    }
    TemporaryFolder folder;
};

inline platform::OSStatus add(platform::Keychain& keychain, const std::string& account,
                              std::string_view value) {
    return keychain.SecItemAdd({.account = account, .valueData = platform::bytesOf(value)});
}

/// Replaces the account's item.
inline platform::OSStatus save(platform::Keychain& keychain, const std::string& account,
                               std::string_view value) {
    const auto deleted = keychain.SecItemDelete({.account = account});
    if (deleted != platform::errSecSuccess && deleted != platform::errSecItemNotFound)
        return deleted;
    return add(keychain, account, value);
}

/// The account's value as text, or the status as a number if the call failed.
inline std::string valueOrStatus(platform::Keychain& keychain, std::optional<std::string> account) {
    std::optional<platform::Data> result;
    const auto status = keychain.SecItemCopyMatching(
        {.account = std::move(account), .returnData = true, .matchLimitOne = true}, result);
    if (status != platform::errSecSuccess) return std::to_string(status);
    return result ? std::string(platform::viewOf(*result)) : "success without data";
}

}  // namespace korvel::tests
