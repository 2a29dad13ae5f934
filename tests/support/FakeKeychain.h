#pragma once

#include "support/Hook.h"

#include <korvel/platform/security/Keychain.h>

#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace korvel::tests {

/// A keychain in memory that remembers what it was asked. Passes the same contract suite as the
/// real stores. Any thread.
class FakeKeychain final : public platform::Keychain {
public:
    /// Called with each line of `calls()` as it is made: for tests that look at
    /// the order of calls across several fakes.
    Hook<const std::string&> onCall;

    /// "add token=abc", "copy token", "delete token=abc" (the value as passed), "delete *" (no
    /// account).
    std::vector<std::string> calls() const {
        const std::lock_guard lock(mutex_);
        return calls_;
    }
    std::map<std::string, platform::Data> items() const {
        const std::lock_guard lock(mutex_);
        return items_;
    }
    /// Puts an item in place without recording a call.
    void put(const std::string& account, std::string_view value) {
        const std::lock_guard lock(mutex_);
        items_[account] = platform::bytesOf(value);
    }
    /// Every call from now on does nothing but return `status`; `errSecSuccess` ends that.
    void fail(platform::OSStatus status) {
        const std::lock_guard lock(mutex_);
        failure_ = status;
    }

    platform::OSStatus SecItemAdd(const platform::SecItemQuery& query) override {
        return perform("add", query, [&] {
            if (!query.account) return platform::errSecParam;
            const auto value = query.valueData.value_or(platform::Data{});
            return items_.emplace(*query.account, value).second ? platform::errSecSuccess
                                                                : platform::errSecDuplicateItem;
        });
    }
    platform::OSStatus SecItemCopyMatching(const platform::SecItemQuery& query,
                                           std::optional<platform::Data>& result) override {
        result.reset();
        return perform("copy", query, [&] {
            const auto found = query.account ? items_.find(*query.account) : items_.begin();
            if (found == items_.end()) return platform::errSecItemNotFound;
            if (query.returnData) result = found->second;
            return platform::errSecSuccess;
        });
    }
    platform::OSStatus SecItemDelete(const platform::SecItemQuery& query) override {
        return perform("delete", query, [&] {
            const auto before = items_.size();
            if (query.account) {
                items_.erase(*query.account);
            } else {
                items_.clear();
            }
            return items_.size() == before ? platform::errSecItemNotFound : platform::errSecSuccess;
        });
    }

private:
    template <class Operation>
    platform::OSStatus perform(std::string line, const platform::SecItemQuery& query,
                               Operation operation) {
        line += " " + query.account.value_or("*");
        if (query.valueData) line.append("=").append(platform::viewOf(*query.valueData));
        onCall(line);
        const std::lock_guard lock(mutex_);
        calls_.push_back(std::move(line));
        return failure_ == platform::errSecSuccess ? operation() : failure_;
    }

    mutable std::mutex mutex_;
    std::map<std::string, platform::Data> items_;
    std::vector<std::string> calls_;
    platform::OSStatus failure_ = platform::errSecSuccess;
};

}  // namespace korvel::tests
