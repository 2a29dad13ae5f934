#include <korvel/model/KCSDKOndemandContentToken.h>
#include <korvel/network/ServiceOperations.h>
#include <korvel/player/KeyLoading.h>
#include <korvel/player/TokenPrefetch.h>

#include <utility>

namespace korvel {

TokenPrefetch::TokenPrefetch(std::shared_ptr<const platform::Clock> clock,
                             std::shared_ptr<KnownServers> servers)
    : clock_(std::move(clock)), servers_(std::move(servers)) {}

void TokenPrefetch::begin(const ServiceOperations& service) {
    {
        const std::lock_guard lock(mutex_);
        asked_ = clock_->now();
    }
    const BoxHandler told = [self = shared_from_this()](Outcome<Box> outcome) {
        self->came(std::move(outcome));
    };
    service.contentToken(keyTokenContent, told);
}

platform::Clock::Instant TokenPrefetch::asked() const {
    const std::lock_guard lock(mutex_);
    return asked_;
}

bool TokenPrefetch::take(Handler<Token> done) {
    std::unique_lock lock(mutex_);
    if (std::exchange(isTaken_, true) || (outcome_ && !*outcome_)) return false;
    if (!outcome_) {
        waiting_ = std::move(done).boxed();
        return true;
    }
    auto outcome = std::move(*outcome_);
    lock.unlock();
    done.boxed()(std::move(outcome));
    return true;
}

void TokenPrefetch::came(Outcome<Box> outcome) {
    std::unique_lock lock(mutex_);
    if (!isTaken_) {
        outcome_.emplace(std::move(outcome));
        return;
    }
    const auto waiting = std::exchange(waiting_, nullptr);
    lock.unlock();
    if (waiting) waiting(std::move(outcome));
}

}  // namespace korvel
