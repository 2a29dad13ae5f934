#include <korvel/platform/hls/Attention.h>

#include <utility>

namespace korvel::platform::hls {

Attention::Attention(std::shared_ptr<const Clock> clock, After after)
    : clock_(std::move(clock)), after_(std::move(after)) {}

std::map<std::uint64_t, std::shared_ptr<const std::function<void()>>> Attention::overtake(
    bool close) {
    const std::lock_guard lock(mutex_);
    ++current_;
    closed_ = closed_ || close;
    changed_.notify_all();
    return uses_;
}

Attention::Generation Attention::raise() {
    for (const auto& [id, cancel] : overtake(false)) (*cancel)();
    return current();
}

void Attention::close() {
    for (const auto& [id, cancel] : overtake(true)) (*cancel)();
}

bool Attention::isClosed() const {
    const std::lock_guard lock(mutex_);
    return closed_;
}

Attention::Generation Attention::current() const {
    const std::lock_guard lock(mutex_);
    return current_;
}

bool Attention::isStale(Generation generation) const {
    const std::lock_guard lock(mutex_);
    return isStaleLocked(generation);
}

void Attention::notify() {
    const std::lock_guard lock(mutex_);
    ++changes_;
    changed_.notify_all();
}

bool Attention::wait(Generation generation, std::optional<Clock::Instant> deadline,
                     const std::function<bool()>& done) {
    if (deadline && *deadline > clock_->now()) {
        after_(*deadline - clock_->now(), [weak = weak_from_this()] {
            if (const auto self = weak.lock()) self->notify();
        });
    }
    std::unique_lock lock(mutex_);
    while (!isStaleLocked(generation)) {
        const auto seen = changes_;
        lock.unlock();
        if (done() || (deadline && clock_->now() >= *deadline)) return !isStale(generation);
        lock.lock();
        changed_.wait(lock, [&] { return isStaleLocked(generation) || changes_ != seen; });
    }
    return false;
}

bool Attention::waitForNext(Generation generation) {
    std::unique_lock lock(mutex_);
    changed_.wait(lock, [&] { return isStaleLocked(generation); });
    return !closed_;
}

bool Attention::sleep(Generation generation, Clock::Duration duration) {
    return wait(generation, clock_->now() + duration, [] { return false; });
}

Attention::Use::Use(Attention& attention, Generation generation, std::function<void()> cancel)
    : attention_(attention) {
    auto shared = std::make_shared<const std::function<void()>>(std::move(cancel));
    {
        const std::lock_guard lock(attention.mutex_);
        if (!attention.isStaleLocked(generation)) {
            id_ = ++attention.lastUse_;
            attention.uses_.emplace(id_, std::move(shared));
            return;
        }
    }
    (*shared)();
}

Attention::Use::~Use() {
    const std::lock_guard lock(attention_.mutex_);
    attention_.uses_.erase(id_);
}

}  // namespace korvel::platform::hls
