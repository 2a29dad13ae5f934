#pragma once

#include <korvel/platform/foundation/MainQueue.h>

#include <memory>

namespace korvel::platform {

/// A block that runs on the main queue after an interval, once or again and again.
class KORVEL_API Timer {
public:
    /// Main queue or any thread. The queue keeps a running timer alive; `invalidate` ends it.
    static std::shared_ptr<Timer> scheduled(MainQueue& queue, Clock::Duration interval,
                                            bool repeats, std::function<void()> block);
    /// The block runs no more and is released. A second call does nothing.
    void invalidate();
    bool isValid() const;

    struct State;  ///< internal
    explicit Timer(std::shared_ptr<State> state);

private:
    std::shared_ptr<State> state_;
};

}  // namespace korvel::platform
