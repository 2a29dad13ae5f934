#pragma once

#include <korvel/platform/foundation/Clock.h>

namespace korvel::platform {

/// What `Screen::animate` tells the views that change within its block.
struct AnimationContext {
    Clock::Instant begin;
    Clock::Duration duration;

    /// The innermost one under way on this thread; null outside of any.
    static inline thread_local const AnimationContext* current = nullptr;
};

}  // namespace korvel::platform
