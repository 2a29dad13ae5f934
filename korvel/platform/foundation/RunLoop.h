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

    /// Returns after `stop`. May be called again, also from a task.
    void run();
    /// As `MainQueue::runUntil`, ended by `stop` too, and then false unless done. `done` is asked
    /// after each round of tasks, so whoever makes it true on another thread calls `stop` as well.
    bool runUntil(const std::function<bool()>& done,
                  std::optional<Clock::Duration> limit = std::nullopt);
    /// Ends the loop in progress, the innermost of nested ones, or else the next: it is never lost
    /// between two threads. Any thread, also from a task.
    void stop();

private:
    std::shared_ptr<MainQueue> queue_;
    std::atomic<bool> stopped_ = false;
};

}  // namespace korvel::platform
