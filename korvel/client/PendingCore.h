#pragma once

#include <korvel/network/Boxed.h>
#include <korvel/platform/foundation/DispatchQueue.h>

#include <atomic>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <stop_token>

namespace korvel {

namespace platform {
class URLSessionTask;
}
class ClientSurroundings;

/// Where the outcome of one operation arrives, whatever it yields. Hosts use `Pending`, which knows
/// what that is: one code for all records keeps the SDK small. Lives in a `std::shared_ptr`. Any
/// thread.
class PendingCore final : public std::enable_shared_from_this<PendingCore> {
public:
    using Task = platform::DispatchQueue::Task;

    explicit PendingCore(std::shared_ptr<ClientSurroundings> surroundings);
    ~PendingCore();

    // For hosts, by way of `Pending`.

    /// Once, when it is over.
    KORVEL_API Outcome<Box> take();
    KORVEL_API bool isOver() const;
    KORVEL_API void cancel();
    /// Ends at the latest so much later.
    KORVEL_API void endWithin(platform::Clock::Duration limit);
    KORVEL_API void stopWith(const std::stop_token& token);
    /// Returns once it is over. Drives the main queue where that is the caller's business.
    KORVEL_API void wait();
    /// Runs `task`, once, when it is over, on `queue`, or on a background thread if that is null;
    /// it replaces an earlier one, and an empty one only takes that back.
    KORVEL_API void afterwards(std::shared_ptr<platform::DispatchQueue> queue, Task task);

    // For whoever carries it out.

    /// Later ends do not count. Ends what is still under way.
    void end(Outcome<Box> outcome);
    /// As `cancel`, for want of time.
    void runOut();
    /// What was asked for is kept, and goes out again, whatever becomes of this operation.
    void keep();
    /// Its exchange is under way, for the `attempt`th time beyond the first. One that a later
    /// attempt has overtaken does not count.
    void began(std::shared_ptr<platform::URLSessionTask> task, int attempt);
    /// An attempt has failed: after which pause there is to be another one, if at all.
    std::optional<platform::Clock::Duration> pauseBeforeNext();

private:
    struct Stop;
    void endFor(Failure::Reason reason);
    static void dispatch(const std::shared_ptr<platform::DispatchQueue>& queue, Task task);

    const std::shared_ptr<ClientSurroundings> surroundings_;
    std::mutex mutex_;
    std::optional<Outcome<Box>> outcome_;  ///< there once it is over
    std::atomic<bool> isOver_ = false;
    bool waitedForByMain_ = false;
    bool kept_ = false;
    int retries_ = 0;
    /// The earliest one.
    std::optional<std::multimap<platform::Clock::Instant, std::weak_ptr<PendingCore>>::iterator>
        deadline_;
    std::shared_ptr<platform::URLSessionTask> task_;
    std::unique_ptr<std::stop_callback<Stop>> stop_;
    std::shared_ptr<platform::DispatchQueue> queue_;
    Task afterwards_;
};

}  // namespace korvel
