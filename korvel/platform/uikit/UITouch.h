#pragma once

#include <korvel/platform/foundation/Clock.h>
#include <korvel/platform/uikit/CGPoint.h>

namespace korvel::platform {

/// One moment of a finger or pointer that is down.
struct UITouch {
    CGPoint locationInWindow;
    Clock::Instant timestamp;
};

}  // namespace korvel::platform
