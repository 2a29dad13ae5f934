#pragma once

#include <korvel/doubles/Journal.h>

#include <korvel/platform/security/Keychain.h>

#include <map>
#include <memory>
#include <optional>

namespace korvel::doubles {

/// A keychain in memory. Passes the same contract suite as the real stores. Any thread.
class FakeKeychain final : public platform::Keychain {
public:
    /// `journal` gets "add token=abc", "copy token", "delete token=abc" (the value as passed),
    /// "delete *" (no account).
    explicit FakeKeychain(std::shared_ptr<Journal> journal = std::make_shared<Journal>())
        : journal_(std::move(journal)) {}

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
        journal_->add(std::move(line));
        const std::lock_guard lock(mutex_);
        return failure_ == platform::errSecSuccess ? operation() : failure_;
    }

    const std::shared_ptr<Journal> journal_;
    mutable std::mutex mutex_;
    std::map<std::string, platform::Data> items_;
    platform::OSStatus failure_ = platform::errSecSuccess;
};

}  // namespace korvel::doubles
