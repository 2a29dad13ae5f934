#pragma once

#include <korvel/platform/security/SealedRecords.h>

#include <algorithm>
#include <mutex>
#include <set>

namespace korvel::doubles {

/// Records in memory, which last as long as the object: hand the same one to the next client to see
/// what a later run of the program does. Any thread.
class FakeSealedRecords final : public platform::SealedRecords,
                                public std::enable_shared_from_this<FakeSealedRecords> {
public:
    std::optional<Added> add(const platform::Data& value, Bounds bounds) override {
        const std::lock_guard lock(mutex_);
        records_.push_back({.number = ++last_, .value = value});
        Added added{.number = last_, .claim = claimed(last_), .crowdedOut = {}};
        while (records_.size() > 1 && (records_.size() > bounds.records || size() > bounds.bytes)) {
            added.crowdedOut.push_back(std::move(records_.front()));
            records_.erase(records_.begin());
        }
        return added;
    }
    std::vector<Record> all() override {
        const std::lock_guard lock(mutex_);
        return records_;
    }
    Claim claim(Number number) override {
        const std::lock_guard lock(mutex_);
        return find(number) == records_.end() || claims_.contains(number) ? nullptr
                                                                          : claimed(number);
    }
    bool remove(Number number) override {
        const std::lock_guard lock(mutex_);
        if (const auto found = find(number); found != records_.end()) records_.erase(found);
        return true;
    }

private:
    std::vector<Record>::iterator find(Number number) {
        return std::ranges::find(records_, number, &Record::number);
    }
    std::size_t size() const {
        std::size_t bytes = 0;
        for (const auto& record : records_) bytes += record.value.size();
        return bytes;
    }
    Claim claimed(Number number) {
        claims_.insert(number);
        return {this, [self = shared_from_this(), number](void*) {
                    const std::lock_guard lock(self->mutex_);
                    self->claims_.erase(number);
                }};
    }

    std::mutex mutex_;
    std::vector<Record> records_;
    std::set<Number> claims_;
    Number last_ = 0;
};

}  // namespace korvel::doubles
