#include <korvel/platform/hls/LineMemory.h>

#include <algorithm>
#include <cmath>

namespace korvel::platform::hls {

namespace {

constexpr std::chrono::minutes halfLife{10};
/// What is quicker than any stream tells no more; it would only be believed the longer.
constexpr double mostSpeed = 100e6;

}  // namespace

void LineMemory::keep(double speed, Clock::Instant now) {
    const std::lock_guard lock(mutex_);
    speed_ = std::min(speed, mostSpeed);
    kept_ = now;
}

std::optional<double> LineMemory::recall(Clock::Instant now) const {
    const std::lock_guard lock(mutex_);
    if (!speed_) return std::nullopt;
    const std::chrono::duration<double> age = std::max(now - kept_, Clock::Duration::zero());
    return *speed_ * std::exp2(-age / halfLife);
}

}  // namespace korvel::platform::hls
