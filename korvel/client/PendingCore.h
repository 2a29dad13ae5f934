#pragma once

#include <korvel/network/Outcome.h>
#include <korvel/platform/foundation/DispatchQueue.h>

#include <atomic>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <stop_token>

namespace korvel {

class Conduct;
class OperationConduct;
struct ClientSurroundings;

/// Where the outcome of one operation arrives, whatever it yields. Hosts use `Pending`, which knows
/// what that is: one code for all records keeps the SDK small.
class KORVEL_API PendingCore final : public std::enable_shared_from_this<PendingCore> {
public:
    using Task = platform::DispatchQueue::Task;
    using Value = std::shared_ptr<void>;

    explicit PendingCore(std::shared_ptr<const ClientSurroundings> surroundings);
    ~PendingCore();

    /// With a value as `Pending` expects it, or a failure. Later ends do not count.
    void end(Outcome<Value> outcome);
    /// Once, when it is over.
    Outcome<Value> take();

    std::shared_ptr<Conduct> conduct() const;
    /// What was asked for is kept, and goes out again, whatever becomes of this operation.
    void keep();

    bool isOver() const;
    void cancel();
    /// As `cancel`, for want of time.
    void runOut();
    /// Ends at the latest so much later.
    void endWithin(platform::Clock::Duration limit);
    void stopWith(const std::stop_token& token);
    /// Returns once it is over. Drives the main queue where that is the caller's business.
    void wait();
    /// Runs `task`, once, when it is over, on `queue`, or on a background thread if that is null;
    /// it replaces an earlier one, and an empty one only takes that back.
    void afterwards(std::shared_ptr<platform::DispatchQueue> queue, Task task);

private:
    static void dispatch(const std::shared_ptr<platform::DispatchQueue>& queue, Task task);

    const std::shared_ptr<OperationConduct> conduct_;
    mutable std::mutex mutex_;
    std::atomic<bool> over_ = false;  ///< set under the lock
    bool waitedForByMain_ = false;
    std::optional<Outcome<Value>> outcome_;
    std::shared_ptr<platform::DispatchQueue> queue_;
    Task afterwards_;
    using StopCallback = std::stop_callback<std::function<void()>>;
    std::unique_ptr<StopCallback> stop_;
};

}  // namespace korvel
