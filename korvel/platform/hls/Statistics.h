#pragma once

#include <korvel/platform/hls/Presentation.h>

#include <mutex>
#include <vector>

namespace korvel::platform::hls {

/// Keeps the access log. Any thread.
class Statistics {
public:
    void chosen(std::size_t variant) {
        const std::lock_guard lock(mutex_);
        if (entries_.empty() || entries_.back().variant != variant) {
            if (entries_.size() >= mostEntries) entries_.erase(entries_.begin());
            entries_.push_back({.variant = variant});
        }
    }
    void loaded(std::uint64_t bytes, std::chrono::nanoseconds busy, int stalls) {
        const std::lock_guard lock(mutex_);
        if (entries_.empty()) return;
        AccessLogEntry& entry = entries_.back();
        entry.bytes += static_cast<std::int64_t>(bytes);
        entry.transferTime += busy;
        ++entry.segments;
        entry.stalls += stalls - stalls_;
        stalls_ = stalls;
    }
    std::vector<AccessLogEntry> entries() const {
        const std::lock_guard lock(mutex_);
        return entries_;
    }

private:
    static constexpr std::size_t mostEntries = 1000;
    mutable std::mutex mutex_;
    std::vector<AccessLogEntry> entries_;
    int stalls_ = 0;
};

}  // namespace korvel::platform::hls
