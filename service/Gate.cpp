#include <service/Gate.h>

namespace korvel::service {

bool Gate::waitForRelease() {
    std::unique_lock lock(mutex_);
    ++held_;
    changed_.notify_all();
    changed_.wait(lock, [&, since = releases_] { return closed_ || releases_ != since; });
    return !closed_;
}

bool Gate::wait(std::chrono::milliseconds time) {
    std::unique_lock lock(mutex_);
    if (time.count() > 0) changed_.wait_for(lock, time, [&] { return closed_; });
    return !closed_;
}

void Gate::release() {
    const std::lock_guard lock(mutex_);
    ++releases_;
    held_ = 0;  // here and not by each of them, so that the count is right when this returns
    changed_.notify_all();
}

void Gate::close() {
    const std::lock_guard lock(mutex_);
    closed_ = true;
    changed_.notify_all();
}

std::size_t Gate::held() const {
    const std::lock_guard lock(mutex_);
    return held_;
}

bool Gate::waitForHeld(std::size_t answers, std::chrono::milliseconds atMost) {
    std::unique_lock lock(mutex_);
    return changed_.wait_for(lock, atMost, [&] { return held_ >= answers; });
}

}  // namespace korvel::service
