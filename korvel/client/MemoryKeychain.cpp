#include <korvel/client/MemoryKeychain.h>

namespace korvel {

using platform::Data;
using platform::OSStatus;
using platform::SecItemQuery;

/// Under the lock.
std::list<MemoryKeychain::Item>::iterator MemoryKeychain::find(const SecItemQuery& query) {
    auto item = items_.begin();
    while (item != items_.end() && query.account && item->account != *query.account) ++item;
    return item;
}

OSStatus MemoryKeychain::SecItemAdd(const SecItemQuery& query) {
    if (!query.account) return platform::errSecParam;
    const std::lock_guard lock(mutex_);
    if (find(query) != items_.end()) return platform::errSecDuplicateItem;
    auto& item = items_.emplace_back();
    item.account = *query.account;
    if (query.valueData) item.value = *query.valueData;
    return platform::errSecSuccess;
}

OSStatus MemoryKeychain::SecItemCopyMatching(const SecItemQuery& query,
                                             std::optional<Data>& result) {
    result.reset();
    const std::lock_guard lock(mutex_);
    const auto found = find(query);
    if (found == items_.end()) return platform::errSecItemNotFound;
    if (query.returnData) result = found->value;
    return platform::errSecSuccess;
}

OSStatus MemoryKeychain::SecItemDelete(const SecItemQuery& query) {
    const std::lock_guard lock(mutex_);
    const auto found = find(query);
    if (found == items_.end()) return platform::errSecItemNotFound;
    items_.erase(found, query.account ? std::next(found) : items_.end());
    return platform::errSecSuccess;
}

}  // namespace korvel
