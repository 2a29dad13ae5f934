#pragma once

#include <korvel/platform/foundation/DispatchQueue.h>
#include <korvel/platform/foundation/SharedObject.h>

#include <memory>
#include <optional>

namespace korvel::platform {

/// Connects the main queue to an event loop that somebody else runs: a toolkit's, usually.
class KORVEL_API Pump {
public:
    virtual ~Pump();
    /// Called on any thread, also from within `attach` and `drain`, without a lock held: run
    /// `MainQueue::drain` on the loop's thread at `time` or soon after, never from in here. The
    /// earliest time asked for since the last drain counts, that which the drain returned included.
    /// `MainQueue::atOnce` where tasks wait.
    virtual void wakeAt(Clock::Instant time) = 0;
};

/// The queue of everything that touches views, timers and listeners. It owns its tasks and
/// deadlines and is driven by exactly one of: a `Pump`, a `RunLoop`, or, when `Driver::ownThread`
/// was chosen and neither of them came, a thread of its own. That thread ends for good once one of
/// them comes, after its task in progress, so that views change threads at most once. Made by
/// `make`.
///
/// Thread safety: any thread; tasks run one at a time, on the driving thread. A task may drain or
/// run a nested loop; a repeating task does not run again inside its own run. Tasks are destroyed
/// without a lock held, so their destructors may call the queue.
class KORVEL_API MainQueue : public DispatchQueue, public SharedObject<MainQueue> {
public:
    enum class Driver {
        ownThread,  ///< starts a thread at the first task unless a pump or a run loop drives the
                    ///< queue
        manual,     ///< nothing runs until somebody drains
    };
    using Token = std::uint64_t;  ///< 0: none
    /// The earliest instant there is: the time of tasks that wait. Compare before subtracting, the
    /// difference to any other instant may not fit.
    static constexpr Clock::Instant atOnce = Clock::Instant::min();

    MainQueue(std::shared_ptr<const Clock> clock, Driver driver);
    ~MainQueue() override;

    void async(Task task) override;
    void asyncAfter(Clock::Duration delay, Task task) override;
    /// Repeats at absolute deadlines, so 1/150 s stays 150 a second; ticks missed while the thread
    /// was busy are dropped, not caught up. At most 10,000 a second.
    Token every(Clock::Duration interval, Task task);
    /// Final on the main thread: no further run. On another one a run in progress goes on, and the
    /// task is destroyed after it.
    void cancel(Token token);

    /// Whether the calling thread is the one that drives the queue; while a task runs, the one it
    /// runs on.
    bool isMain() const;
    /// Whether a pump is attached or a run loop in progress: somebody of the host's choice drives.
    bool isDriven() const;
    /// Called on the thread that will drain; empty detaches. Never waits: a task in progress on
    /// another thread is finished first, or the run loop there, and then the pump is asked for a
    /// drain.
    void attach(std::shared_ptr<Pump> pump);
    /// Runs the tasks present now and the deadlines that have come; returns the next deadline,
    /// `atOnce` if tasks are waiting, or nothing. Runs nothing while another thread
    /// drives.
    std::optional<Clock::Instant> drain();
    /// Drives the queue on the calling thread until `done` says so or `limit` has passed (nothing:
    /// no limit); true if done. `done` is asked after every drain, the first one before any
    /// waiting.
    bool runUntil(const std::function<bool()>& done,
                  std::optional<Clock::Duration> limit = std::nullopt);

private:
    struct State;
    std::shared_ptr<State> state_;
};

}  // namespace korvel::platform
