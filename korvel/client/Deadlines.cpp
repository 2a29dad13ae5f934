#include <korvel/client/Deadlines.h>
#include <korvel/client/PendingCore.h>
#include <korvel/platform/foundation/Delay.h>

#include <vector>

namespace korvel {

using platform::Clock;

Deadlines::Deadlines(std::shared_ptr<const Clock> clock,
                     std::shared_ptr<platform::DispatchQueue> timers)
    : clock_(std::move(clock)), timers_(std::move(timers)) {}

Deadlines::Token Deadlines::add(Clock::Duration limit,
                                const std::shared_ptr<PendingCore>& operation) {
    const Instant due = platform::dueTime(clock_->now(), limit);
    std::unique_lock lock(mutex_);
    const Token token(due, ++newest_);
    operations_.emplace(token, operation);
    if (wakesAt_ && *wakesAt_ <= due) return token;
    wakesAt_ = due;
    lock.unlock();
    wakeFor(due);
    return token;
}

void Deadlines::remove(const Token& token) {
    const std::lock_guard lock(mutex_);
    operations_.erase(token);
}

Clock::Duration Deadlines::until(const Token& token) const { return token.first - clock_->now(); }

void Deadlines::after(Clock::Duration delay, platform::DispatchQueue::Task task) const {
    timers_->asyncAfter(delay, std::move(task));
}

void Deadlines::wakeFor(Instant instant) {
    after(instant - clock_->now(), [weak = weak_from_this()] {
        if (const auto self = weak.lock()) self->sweep();
    });
}

void Deadlines::sweep() {
    std::vector<std::weak_ptr<PendingCore>> due;
    std::optional<Instant> next;
    {
        const std::lock_guard lock(mutex_);
        const auto now = clock_->now();
        while (!operations_.empty() && operations_.begin()->first.first <= now) {
            due.push_back(std::move(operations_.begin()->second));
            operations_.erase(operations_.begin());
        }
        if (wakesAt_ && *wakesAt_ <= now) wakesAt_.reset();
        if (!wakesAt_ && !operations_.empty()) next = operations_.begin()->first.first;
        if (next) wakesAt_ = next;
    }
    if (next) wakeFor(*next);
    for (const auto& each : due) {
        if (const auto operation = each.lock()) operation->runOut();
    }
}

}  // namespace korvel
