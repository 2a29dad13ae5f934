#pragma once

#include <korvel/platform/foundation/Export.h>

#include <chrono>

namespace korvel::platform {

/// The device's time: a steady one for delays, a wall clock for dates. Any thread.
class KORVEL_API Clock {
public:
    using Duration = std::chrono::nanoseconds;
    using Instant = std::chrono::time_point<std::chrono::steady_clock, Duration>;

    virtual ~Clock();
    virtual Instant now() const = 0;
    virtual std::chrono::system_clock::time_point date() const = 0;
};

class KORVEL_API SystemClock final : public Clock {
public:
    Instant now() const override;
    std::chrono::system_clock::time_point date() const override;
};

}  // namespace korvel::platform
