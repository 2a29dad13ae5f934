#pragma once

#include <korvel/platform/foundation/Clock.h>

namespace korvel::platform {

class UIControl;
class UISlider;

namespace qtquick {

// What keys and screen readers do to a control, told to its targets as touches would be. An action
// may take the control away.

/// False if the control has no use for the key.
bool pressKey(UIControl& control, int key, bool repeated, Clock::Instant time);
bool releaseKey(UIControl& control, int key, Clock::Instant time);
/// From press to release.
void activate(UIControl& control, Clock::Instant time);
void moveTo(UISlider& slider, double value);
/// By so many hundredths of its range.
void moveBy(UISlider& slider, double hundredths);

}  // namespace qtquick
}  // namespace korvel::platform
