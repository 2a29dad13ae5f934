#include <korvel/platform/foundation/Clock.h>

namespace korvel::platform {

Clock::~Clock() = default;

Clock::Instant SystemClock::now() const { return std::chrono::steady_clock::now(); }

std::chrono::system_clock::time_point SystemClock::date() const {
    return std::chrono::system_clock::now();
}

}  // namespace korvel::platform
