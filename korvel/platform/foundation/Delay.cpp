#include <korvel/platform/foundation/Delay.h>
#include <korvel/platform/foundation/Thread.h>

#include <algorithm>
#include <condition_variable>
#include <map>
#include <mutex>
#include <utility>

namespace korvel::platform {

namespace {

using namespace std::chrono_literals;

class Delays {
public:
    void add(Clock::Instant at, std::function<void()> action) {
        std::unique_lock lock(mutex_);
        const bool earliest = actions_.empty() || at < actions_.begin()->first;
        actions_.emplace(at, std::move(action));
        if (!std::exchange(hasThread_, true)) {
            startThreadOrWait("korvel delays", [this] { run(); });
        } else if (earliest) {
            lock.unlock();
            changed_.notify_one();
        }
    }

private:
    void run() {
        std::unique_lock lock(mutex_);
        while (true) {
            if (actions_.empty()) {
                if (changed_.wait_for(lock, 10s, [&] { return !actions_.empty(); })) continue;
                hasThread_ = false;
                return;
            }
            const auto next = actions_.begin();
            // An hour at most: the library's own arithmetic on the last instants would overflow.
            const auto now = std::chrono::steady_clock::now();
            if (next->first > now) {
                changed_.wait_for(lock, std::min<Clock::Duration>(next->first - now, 1h));
                continue;
            }
            auto due = actions_.extract(next);
            lock.unlock();
            perform(std::move(due.mapped()));
            lock.lock();
        }
    }

    std::mutex mutex_;
    std::condition_variable changed_;
    std::multimap<Clock::Instant, std::function<void()>> actions_;
    bool hasThread_ = false;
};

}  // namespace

Clock::Instant dueTime(Clock::Instant now, Clock::Duration delay) {
    if (delay <= Clock::Duration::zero()) return now;
    return delay < Clock::Instant::max() - now ? now + delay : Clock::Instant::max();
}

void runAfter(Clock::Duration delay, std::function<void()> action) {
    // Never destroyed: its thread and late callers may still use it while the process exits.
    static auto& delays = *new Delays;
    delays.add(dueTime(std::chrono::steady_clock::now(), delay), std::move(action));
}

}  // namespace korvel::platform
