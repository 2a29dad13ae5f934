#include <korvel/platform/foundation/Timer.h>

#include <mutex>
#include <utility>

namespace korvel::platform {

using Block = std::function<void()>;

struct Timer::State {
    std::mutex mutex;
    std::shared_ptr<const Block> block;  // empty: invalid
    std::weak_ptr<MainQueue> queue;
    MainQueue::Token token = 0;  // 0 until the queue has given it

    void fire(bool repeats);
    void invalidate();
};

void Timer::State::fire(bool repeats) {
    std::shared_ptr<const Block> current;  // lives through a block that invalidates its own timer
    {
        const std::lock_guard lock(mutex);
        current = block;
    }
    if (!current) return;
    if (*current) (*current)();
    if (!repeats) invalidate();
}

void Timer::State::invalidate() {
    std::shared_ptr<const Block> released;  // after the lock: it may own the timer
    MainQueue::Token ended = 0;
    {
        const std::lock_guard lock(mutex);
        released = std::exchange(block, nullptr);
        ended = std::exchange(token, 0);
    }
    if (const auto owner = queue.lock()) owner->cancel(ended);
}

std::shared_ptr<Timer> Timer::scheduled(MainQueue& queue, Clock::Duration interval, bool repeats,
                                        Block block) {
    auto state = std::make_shared<State>();
    state->queue = queue.weak_from_this();
    state->block = std::make_shared<const Block>(std::move(block));
    const auto token = queue.every(interval, [state, repeats] { state->fire(repeats); });
    bool alreadyOver = false;
    {
        const std::lock_guard lock(state->mutex);
        alreadyOver = !state->block;  // it fired on the main thread before this line
        if (!alreadyOver) state->token = token;
    }
    if (alreadyOver) queue.cancel(token);
    return std::make_shared<Timer>(std::move(state));
}

Timer::Timer(std::shared_ptr<State> state) : state_(std::move(state)) {}

void Timer::invalidate() { state_->invalidate(); }

bool Timer::isValid() const {
    const std::lock_guard lock(state_->mutex);
    return state_->block != nullptr;
}

}  // namespace korvel::platform
