#include <korvel/platform/foundation/RunLoop.h>

#include <utility>

namespace korvel::platform {

RunLoop::RunLoop(std::shared_ptr<MainQueue> queue) : queue_(std::move(queue)) {}

void RunLoop::run() {
    runUntil([] { return false; });
}

bool RunLoop::runUntil(const std::function<bool()>& done, std::optional<Clock::Duration> limit) {
    bool reached = false;
    queue_->runUntil(
        [&] {
            const bool stopped =
                stopped_.exchange(false);  // first: a stop counts once, done or not
            reached = done();
            return reached || stopped;
        },
        limit);
    return reached;
}

void RunLoop::stop() {
    const auto queue =
        queue_;  // the loop may end, and its object go, before the next line is through
    stopped_ = true;
    queue->async([] {});  // wakes the loop, which asks after each round
}

}  // namespace korvel::platform
