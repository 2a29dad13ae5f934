#pragma once

#include <korvel/network/Failure.h>
#include <korvel/platform/foundation/DispatchQueue.h>

#include <atomic>
#include <functional>
#include <memory>
#include <mutex>
#include <stop_token>

namespace korvel {

class OperationConduct;

/// What every pending operation has, whatever it yields. Hosts use `Pending`.
class KORVEL_API PendingCore : public std::enable_shared_from_this<PendingCore> {
public:
    using Task = platform::DispatchQueue::Task;

    virtual ~PendingCore();

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

protected:
    explicit PendingCore(std::shared_ptr<OperationConduct> conduct);
    /// Ends with `failure`, unless it is over.
    virtual void fail(Failure failure) = 0;
    /// `store` runs if this is the end, and keeps the outcome; the rest follows.
    void end(const std::function<void()>& store);

private:
    static void dispatch(const std::shared_ptr<platform::DispatchQueue>& queue, Task task);

    const std::shared_ptr<OperationConduct> conduct_;
    mutable std::mutex mutex_;
    std::atomic<bool> over_ = false;  ///< set under the lock
    bool waitedForByMain_ = false;
    std::shared_ptr<platform::DispatchQueue> queue_;
    Task afterwards_;
    using StopCallback = std::stop_callback<std::function<void()>>;
    std::unique_ptr<StopCallback> stop_;
};

}  // namespace korvel
