#include <korvel/client/MemoryKeychain.h>

namespace korvel {

using platform::Data;
using platform::OSStatus;
using platform::SecItemQuery;

OSStatus MemoryKeychain::SecItemAdd(const SecItemQuery& query) {
    if (!query.account) return platform::errSecParam;
    const std::lock_guard lock(mutex_);
    const bool added = items_.emplace(*query.account, query.valueData.value_or(Data())).second;
    return added ? platform::errSecSuccess : platform::errSecDuplicateItem;
}

OSStatus MemoryKeychain::SecItemCopyMatching(const SecItemQuery& query,
                                             std::optional<Data>& result) {
    result.reset();
    const std::lock_guard lock(mutex_);
    const auto found = query.account ? items_.find(*query.account) : items_.begin();
    if (found == items_.end()) return platform::errSecItemNotFound;
    if (query.returnData) result = found->second;
    return platform::errSecSuccess;
}

OSStatus MemoryKeychain::SecItemDelete(const SecItemQuery& query) {
    const std::lock_guard lock(mutex_);
    const auto count = query.account ? items_.erase(*query.account) : items_.size();
    if (!query.account) items_.clear();
    return count > 0 ? platform::errSecSuccess : platform::errSecItemNotFound;
}

}  // namespace korvel
