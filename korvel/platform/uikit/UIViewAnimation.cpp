#include <korvel/platform/uikit/UIViewAnimation.h>

namespace korvel::platform {

double UIViewAnimation::alphaAt(Clock::Instant time) const {
    if (time >= end()) return toAlpha;
    if (time <= begin) return fromAlpha;
    const double way = std::chrono::duration<double>(time - begin) / duration;
    return fromAlpha + (toAlpha - fromAlpha) * way * way * (3 - 2 * way);
}

}  // namespace korvel::platform
