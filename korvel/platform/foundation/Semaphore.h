#pragma once

#include <condition_variable>
#include <cstdint>
#include <mutex>

namespace korvel::platform {

/// A counting semaphore. Any thread.
class Semaphore {
public:
    explicit Semaphore(std::int64_t value) : value_(value) {}

    void wait() {
        std::unique_lock lock(mutex_);
        changed_.wait(lock, [&] { return value_ > 0; });
        --value_;
    }

    void signal() {
        const std::lock_guard lock(mutex_);
        ++value_;
        changed_.notify_one();  // under the lock: a waiter may destroy the semaphore as soon as it
                                // wakes
    }

private:
    std::mutex mutex_;
    std::condition_variable changed_;
    std::int64_t value_;
};

}  // namespace korvel::platform
