#include <korvel/client/ClientSurroundings.h>
#include <korvel/client/PendingCore.h>
#include <korvel/platform/foundation/URLSession.h>

#include <algorithm>
#include <utility>

namespace korvel {

using platform::Clock;
using platform::DispatchQueue;

namespace {
constexpr Clock::Duration firstPause = std::chrono::milliseconds(250);
constexpr int longestPauseShift = 4;  // four seconds
}  // namespace

struct PendingCore::Stop {
    std::weak_ptr<PendingCore> operation;

    void operator()() const {
        if (const auto stopped = operation.lock()) stopped->cancel();
    }
};

PendingCore::PendingCore(std::shared_ptr<ClientSurroundings> surroundings)
    : surroundings_(std::move(surroundings)) {}

PendingCore::~PendingCore() {
    if (deadline_) surroundings_->remove(*deadline_);
}

bool PendingCore::isOver() const { return isOver_; }

Outcome<Box> PendingCore::take() { return std::move(*outcome_); }

// ------------------------------------------------------------------------------------------
// waiting

void PendingCore::wait() {
    if (!surroundings_->mainQueue->isMain()) return isOver_.wait(false);
    {
        const std::lock_guard lock(mutex_);
        waitedForByMain_ = true;
    }
    surroundings_->mainQueue->runUntil([this] { return isOver(); });
}

void PendingCore::afterwards(std::shared_ptr<DispatchQueue> queue, Task task) {
    {
        const std::lock_guard lock(mutex_);
        if (!outcome_) {
            queue_.swap(queue);
            afterwards_.swap(task);
            return;
        }
    }
    dispatch(queue, std::move(task));
}

void PendingCore::dispatch(const std::shared_ptr<DispatchQueue>& queue, Task task) {
    if (!task) return;
    (queue ? *queue : DispatchQueue::global()).async(std::move(task));
}

// ------------------------------------------------------------------------------------------
// ending

void PendingCore::cancel() { endFor(Failure::Reason::cancelled); }

void PendingCore::runOut() { endFor(Failure::Reason::timedOut); }

void PendingCore::endFor(Failure::Reason reason) {
    auto failure = failureFor(reason);
    {
        const std::lock_guard lock(mutex_);
        failure.isKept = kept_;
    }
    end(std::move(failure));
}

void PendingCore::endWithin(Clock::Duration limit) {
    std::optional unused(surroundings_->add(limit, weak_from_this()));
    {
        const std::lock_guard lock(mutex_);
        const bool isEarlier = !deadline_ || (*unused)->first < (*deadline_)->first;
        if (!outcome_ && isEarlier) deadline_.swap(unused);
    }
    if (unused) surroundings_->remove(*unused);
}

void PendingCore::stopWith(const std::stop_token& token) {
    // Where the token says stop already, the callback runs in here.
    auto stop = std::make_unique<std::stop_callback<Stop>>(token, Stop{weak_from_this()});
    const std::lock_guard lock(mutex_);
    if (!outcome_) stop_.swap(stop);
}

void PendingCore::end(Outcome<Box> outcome) {
    const auto self = shared_from_this();  // what is let go of below may be the last to hold it
    decltype(deadline_) deadline;
    decltype(task_) exchange;
    decltype(stop_) stop;
    decltype(queue_) queue;
    Task task;
    bool wakesMain = false;
    {
        const std::lock_guard lock(mutex_);
        if (outcome_) return;
        outcome_.emplace(std::move(outcome));
        isOver_ = true;  // from here on nobody begins to wait
        deadline.swap(deadline_);
        exchange.swap(task_);
        stop.swap(stop_);
        queue.swap(queue_);
        task.swap(afterwards_);
        wakesMain = waitedForByMain_;
    }
    isOver_.notify_all();  // without the lock, which the woken want
    if (deadline) surroundings_->remove(*deadline);
    if (exchange) exchange->cancel();
    if (wakesMain) surroundings_->mainQueue->async([] {});
    dispatch(queue, std::move(task));
}

// ------------------------------------------------------------------------------------------
// exchanges

void PendingCore::keep() {
    const std::lock_guard lock(mutex_);
    kept_ = true;
}

void PendingCore::began(std::shared_ptr<platform::URLSessionTask> task, int attempt) {
    {
        const std::lock_guard lock(mutex_);
        if (attempt != retries_) return;
        if (!outcome_) return task_.swap(task);
    }
    if (task) task->cancel();
}

std::optional<Clock::Duration> PendingCore::pauseBeforeNext() {
    const std::lock_guard lock(mutex_);
    if (outcome_ || retries_ >= surroundings_->readRetries) return std::nullopt;
    const auto pause = firstPause * (1 << std::min(retries_, longestPauseShift));
    if (deadline_ && surroundings_->until(*deadline_) <= pause) return std::nullopt;
    ++retries_;
    task_ = nullptr;
    return pause;
}

}  // namespace korvel
