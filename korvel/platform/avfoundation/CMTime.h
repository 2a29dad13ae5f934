#pragma once

#include <korvel/platform/foundation/Export.h>

#include <chrono>
#include <cstdint>

namespace korvel::platform {

/// A media time: `value` units of 1/`timescale` seconds. A value; any thread.
struct KORVEL_API CMTime {
    enum class Kind : std::uint8_t {
        invalid,
        numeric,
        indefinite,
        positiveInfinity,
        negativeInfinity
    };

    std::int64_t value = 0;
    std::int32_t timescale = 0;  ///< units per second; kept where there is no value, too
    Kind kind = Kind::invalid;

    bool isNumeric() const { return kind == Kind::numeric; }
    /// A nanosecond timescale: the one in which media engines count.
    static CMTime of(std::chrono::nanoseconds time);
    /// To the nearest nanosecond, within what nanoseconds can hold. Zero unless numeric.
    std::chrono::nanoseconds nanoseconds() const;

    bool operator==(const CMTime&) const = default;  ///< 1/2 and 2/4 differ
};

struct KORVEL_API CMTimeRange {
    CMTime start;
    CMTime duration;

    bool operator==(const CMTimeRange&) const = default;
};

inline constexpr std::int32_t nanosecondTimescale = 1'000'000'000;

inline constexpr CMTime kCMTimeInvalid{};
inline constexpr CMTime kCMTimeZero{0, 1, CMTime::Kind::numeric};
inline constexpr CMTime kCMTimeIndefinite{0, 0, CMTime::Kind::indefinite};

/// Invalid if the timescale is not positive.
KORVEL_API CMTime CMTimeMake(std::int64_t value, std::int32_t timescale);
/// To the nearest unit. Invalid for NaN or a timescale that is not positive; infinite beyond what
/// 64 bits hold.
KORVEL_API CMTime CMTimeMakeWithSeconds(double seconds, std::int32_t preferredTimescale);
/// NaN if invalid or indefinite.
KORVEL_API double CMTimeGetSeconds(CMTime time);

}  // namespace korvel::platform
