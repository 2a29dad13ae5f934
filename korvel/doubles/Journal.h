#pragma once

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

namespace korvel::doubles {

/// Lines in the order in which they came. Any thread.
class Journal {
public:
    void add(std::string line) {
        const std::lock_guard lock(mutex_);
        lines_.push_back(std::move(line));
        changed_.notify_all();
    }
    std::vector<std::string> lines() const {
        const std::lock_guard lock(mutex_);
        return lines_;
    }
    /// The lines since the last call.
    std::vector<std::string> takeLines() {
        const std::lock_guard lock(mutex_);
        return std::exchange(lines_, {});
    }
    /// For lines of other threads. False if they do not come.
    bool waitForLines(std::size_t count) {
        std::unique_lock lock(mutex_);
        return changed_.wait_for(lock, std::chrono::seconds(30),
                                 [&] { return lines_.size() >= count; });
    }

private:
    mutable std::mutex mutex_;
    std::condition_variable changed_;
    std::vector<std::string> lines_;
};

}  // namespace korvel::doubles
