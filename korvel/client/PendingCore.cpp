#include <korvel/client/OperationConduct.h>
#include <korvel/client/PendingCore.h>

#include <algorithm>
#include <utility>

namespace korvel {

using platform::Clock;
using platform::DispatchQueue;

namespace {
constexpr Clock::Duration firstPause = std::chrono::milliseconds(250);
constexpr int longestPauseShift = 4;  // four seconds
}  // namespace

// ------------------------------------------------------------------------------------------
// conduct

OperationConduct::OperationConduct(std::shared_ptr<const ClientSurroundings> surroundings)
    : surroundings_(std::move(surroundings)) {}

bool OperationConduct::isOver() const {
    const std::lock_guard lock(mutex_);
    return over_;
}

void OperationConduct::began(std::shared_ptr<platform::URLSessionTask> task) {
    if (!task) return;
    std::unique_lock lock(mutex_);
    if (!over_) {
        task_ = std::move(task);
        return;
    }
    lock.unlock();
    task->cancel();
}

bool OperationConduct::triesAgain(const Failure& failure, std::function<void()> again) {
    if (!failure.isTransient()) return false;
    Clock::Duration pause{};
    {
        const std::lock_guard lock(mutex_);
        if (over_ || retries_ >= surroundings_->readRetries) return false;
        pause = firstPause * (1 << std::min(retries_, longestPauseShift));
        for (const auto& deadline : deadlines_) {
            if (surroundings_->deadlines->until(deadline) <= pause) return false;
        }
        ++retries_;
        task_ = nullptr;
    }
    surroundings_->deadlines->after(pause, std::move(again));
    return true;
}

void OperationConduct::endWithin(Clock::Duration limit,
                                 const std::shared_ptr<PendingCore>& operation) {
    const auto token = surroundings_->deadlines->add(limit, operation);
    std::unique_lock lock(mutex_);
    if (!over_) return deadlines_.push_back(token);
    lock.unlock();
    surroundings_->deadlines->remove(token);
}

void OperationConduct::finish() {
    std::vector<Deadlines::Token> deadlines;
    std::shared_ptr<platform::URLSessionTask> task;
    {
        const std::lock_guard lock(mutex_);
        over_ = true;
        deadlines.swap(deadlines_);
        task.swap(task_);
    }
    for (const auto& deadline : deadlines) surroundings_->deadlines->remove(deadline);
    if (task) task->cancel();
}

// ------------------------------------------------------------------------------------------
// core

PendingCore::PendingCore(std::shared_ptr<const ClientSurroundings> surroundings)
    : conduct_(std::make_shared<OperationConduct>(std::move(surroundings))) {}

PendingCore::~PendingCore() = default;

std::shared_ptr<Conduct> PendingCore::conduct() const { return conduct_; }

void PendingCore::keep() { conduct_->keep(); }

bool PendingCore::isOver() const { return over_; }

void PendingCore::cancel() {
    end(Failure{.reason = Failure::Reason::cancelled, .isKept = conduct_->isKept()});
}

void PendingCore::runOut() {
    end(Failure{.reason = Failure::Reason::timedOut, .isKept = conduct_->isKept()});
}

void PendingCore::endWithin(Clock::Duration limit) {
    conduct_->endWithin(limit, shared_from_this());
}

void PendingCore::stopWith(const std::stop_token& token) {
    // Where the token says stop already, the callback runs in here.
    auto stop = std::make_unique<StopCallback>(token, [weak = weak_from_this()] {
        if (const auto self = weak.lock()) self->cancel();
    });
    const std::lock_guard lock(mutex_);
    if (!over_) stop_.swap(stop);
}

void PendingCore::wait() {
    const auto& mainQueue = conduct_->surroundings().mainQueue;
    if (mainQueue->isMain()) {
        {
            const std::lock_guard lock(mutex_);
            waitedForByMain_ = true;
        }
        mainQueue->runUntil([this] { return isOver(); });
        return;
    }
    over_.wait(false);
}

void PendingCore::afterwards(std::shared_ptr<DispatchQueue> queue, Task task) {
    {
        const std::lock_guard lock(mutex_);
        if (!over_) {
            queue_.swap(queue);
            afterwards_.swap(task);
            return;
        }
    }
    dispatch(queue, std::move(task));
}

void PendingCore::end(Outcome<Value> outcome) {
    const auto self = shared_from_this();  // what is let go of below may be the last to hold it
    std::shared_ptr<DispatchQueue> queue;
    Task task;
    std::unique_ptr<StopCallback> stop;
    bool wakesMain = false;
    {
        const std::lock_guard lock(mutex_);
        if (over_) return;
        outcome_ = std::move(outcome);
        over_ = true;
        queue.swap(queue_);
        task.swap(afterwards_);
        stop.swap(stop_);
        wakesMain = waitedForByMain_;
    }
    over_.notify_all();
    conduct_->finish();
    if (wakesMain) conduct_->surroundings().mainQueue->async([] {});
    dispatch(queue, std::move(task));
}

Outcome<PendingCore::Value> PendingCore::take() { return std::move(*outcome_); }

void PendingCore::dispatch(const std::shared_ptr<DispatchQueue>& queue, Task task) {
    if (!task) return;
    if (queue) return queue->async(std::move(task));
    DispatchQueue::global().async(std::move(task));
}

}  // namespace korvel
