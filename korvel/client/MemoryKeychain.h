#pragma once

#include <korvel/platform/security/Keychain.h>

#include <list>
#include <mutex>

namespace korvel {

/// Secrets for as long as somebody holds it. Any thread.
class MemoryKeychain final : public platform::Keychain {
public:
    platform::OSStatus SecItemAdd(const platform::SecItemQuery& query) override;
    platform::OSStatus SecItemCopyMatching(const platform::SecItemQuery& query,
                                           std::optional<platform::Data>& result) override;
    platform::OSStatus SecItemDelete(const platform::SecItemQuery& query) override;

private:
    struct Item {
        std::string account;
        platform::Data value;
    };
    std::list<Item>::iterator find(const platform::SecItemQuery& query);

    std::mutex mutex_;
    std::list<Item> items_;  ///< a handful
};

}  // namespace korvel
