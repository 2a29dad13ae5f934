#pragma once

#include <korvel/platform/foundation/MainQueue.h>

#include <map>
#include <memory>
#include <mutex>
#include <optional>

namespace korvel {

class PendingCore;

/// What a client's operations have in common, above all the moments at which they end at the
/// latest: however many there are, one task at a time waits in the queue for the earliest. Lives in
/// a `std::shared_ptr`. Any thread.
class ClientSurroundings : public std::enable_shared_from_this<ClientSurroundings> {
public:
    using Clock = platform::Clock;
    using Deadlines = std::multimap<Clock::Instant, std::weak_ptr<PendingCore>>;
    using Deadline = Deadlines::iterator;

    /// `timers` counts by `clock`, and keeps neither this nor an operation alive.
    ClientSurroundings(std::shared_ptr<const Clock> clock,
                       std::shared_ptr<platform::DispatchQueue> timers,
                       std::shared_ptr<platform::MainQueue> main, int retries);

    /// To be removed once, also after it has come.
    Deadline add(Clock::Duration limit, std::weak_ptr<PendingCore> operation);
    void remove(Deadline deadline);

    Clock::Duration until(Deadline deadline) const;
    /// Runs `task` after `delay` on the same queue.
    void after(Clock::Duration delay, platform::DispatchQueue::Task task) const;

    const std::shared_ptr<platform::MainQueue> mainQueue;
    const int readRetries;

private:
    void wakeFor(Clock::Instant instant);
    void sweep();

    const std::shared_ptr<const Clock> clock_;
    const std::shared_ptr<platform::DispatchQueue> timers_;
    std::mutex mutex_;
    Deadlines deadlines_;
    std::optional<Clock::Instant> wakesAt_;
};

}  // namespace korvel
