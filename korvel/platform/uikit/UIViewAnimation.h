#pragma once

#include <korvel/platform/foundation/Clock.h>
#include <korvel/platform/foundation/Export.h>

namespace korvel::platform {

/// How the opacity that the user sees goes to the one that the view already has: slow at both ends.
struct KORVEL_API UIViewAnimation {
    double fromAlpha = 0;
    double toAlpha = 1;
    Clock::Instant begin;
    Clock::Duration duration{};

    double alphaAt(Clock::Instant time) const;
    Clock::Instant end() const { return begin + duration; }
};

}  // namespace korvel::platform
