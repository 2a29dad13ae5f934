#include <korvel/client/ClientSurroundings.h>
#include <korvel/client/PendingCore.h>
#include <korvel/platform/foundation/Delay.h>

#include <list>
#include <utility>

namespace korvel {

ClientSurroundings::ClientSurroundings(std::shared_ptr<const Clock> clock,
                                       std::shared_ptr<platform::DispatchQueue> timers,
                                       std::shared_ptr<platform::MainQueue> main, int retries)
    : mainQueue(std::move(main)),
      readRetries(retries),
      clock_(std::move(clock)),
      timers_(std::move(timers)) {}

ClientSurroundings::Deadline ClientSurroundings::add(Clock::Duration limit,
                                                     std::weak_ptr<PendingCore> operation) {
    const auto due = platform::dueTime(clock_->now(), limit);
    std::unique_lock lock(mutex_);
    const auto deadline = deadlines_.emplace(due, std::move(operation));
    if (wakesAt_ && *wakesAt_ <= due) return deadline;
    wakesAt_ = due;
    lock.unlock();
    wakeFor(due);
    return deadline;
}

void ClientSurroundings::remove(Deadline deadline) {
    const std::lock_guard lock(mutex_);
    deadlines_.erase(deadline);
}

ClientSurroundings::Clock::Duration ClientSurroundings::until(Deadline deadline) const {
    return deadline->first - clock_->now();
}

void ClientSurroundings::after(Clock::Duration delay, platform::DispatchQueue::Task task) const {
    timers_->asyncAfter(delay, std::move(task));
}

void ClientSurroundings::wakeFor(Clock::Instant instant) {
    after(instant - clock_->now(), [weak = weak_from_this()] {
        if (const auto self = weak.lock()) self->sweep();
    });
}

void ClientSurroundings::sweep() {
    std::list<std::weak_ptr<PendingCore>> due;
    std::optional<Clock::Instant> next;
    {
        const std::lock_guard lock(mutex_);
        const auto now = clock_->now();
        auto each = deadlines_.begin();
        for (; each != deadlines_.end() && each->first <= now; ++each) due.push_back(each->second);
        if (wakesAt_ && *wakesAt_ <= now) wakesAt_.reset();
        if (!wakesAt_ && each != deadlines_.end()) next = wakesAt_ = each->first;
    }
    if (next) wakeFor(*next);
    for (const auto& each : due) {
        if (const auto operation = each.lock()) operation->runOut();
    }
}

}  // namespace korvel
