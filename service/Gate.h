#pragma once

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <mutex>

namespace korvel::service {

/// Where answers wait: until released, or for a time. Closing the service ends every wait.
/// Thread safety: any thread.
class Gate {
public:
    /// Both return false if the service was closed meanwhile.
    bool waitForRelease();
    bool wait(std::chrono::milliseconds time);

    void release();  ///< those who wait now
    void close();    ///< everyone, now and later
    std::size_t held() const;
    bool waitForHeld(std::size_t answers, std::chrono::milliseconds atMost);

private:
    mutable std::mutex mutex_;
    std::condition_variable changed_;
    std::size_t held_ = 0;
    std::size_t releases_ = 0;
    bool closed_ = false;
};

}  // namespace korvel::service
