#pragma once

#include <korvel/platform/foundation/Clock.h>

#include <mutex>
#include <optional>

namespace korvel::platform::hls {

/// How quick the line was of late, for the first segment of the next stream. Any thread.
class LineMemory {
public:
    /// Bits a second.
    void keep(double speed, Clock::Instant now);
    /// The less, the longer ago it was measured: the device may be on another line by now. Nothing
    /// before anything was kept.
    std::optional<double> recall(Clock::Instant now) const;

private:
    mutable std::mutex mutex_;
    std::optional<double> speed_;
    Clock::Instant kept_{};
};

}  // namespace korvel::platform::hls
