#pragma once

#include <korvel/platform/foundation/Clock.h>

#include <functional>

namespace korvel::platform {

/// `now` plus `delay`; a negative delay counts as none and a huge one ends at the last instant.
Clock::Instant dueTime(Clock::Instant now, Clock::Duration delay);

/// Runs `action` once the delay is over, on a thread that all delays of the process share: it must
/// not block, only hand on. Any thread.
void runAfter(Clock::Duration delay, std::function<void()> action);

}  // namespace korvel::platform
