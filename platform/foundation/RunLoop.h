#pragma once

#include <korvel/platform/foundation/MainQueue.h>

#include <atomic>

namespace korvel::platform {

/// The event loop of a host that has none: drives the main queue on the thread that calls `run`.
class KORVEL_API RunLoop {
public:
    /// The device's main queue unless another is given.
    RunLoop();
    explicit RunLoop(std::shared_ptr<MainQueue> queue);

    /// Returns after `stop`. May be called again.
    void run();
    /// As `MainQueue::runUntil`, ended by `stop` too.
    bool runUntil(const std::function<bool()>& done,
                  std::optional<Clock::Duration> limit = std::nullopt);
    /// Any thread, also from a task.
    void stop();

private:
    std::shared_ptr<MainQueue> queue_;
    std::atomic<bool> stopped_ = false;
};

}  // namespace korvel::platform
