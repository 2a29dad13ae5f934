#include <korvel/platform/avfoundation/CMTime.h>

#include <cmath>
#include <limits>

namespace korvel::platform {

CMTime CMTime::of(std::chrono::nanoseconds time) {
    return {time.count(), nanosecondTimescale, Kind::numeric};
}

std::chrono::nanoseconds CMTime::nanoseconds() const {
    if (!isNumeric()) return {};
    if (timescale == nanosecondTimescale) return std::chrono::nanoseconds(value);
    constexpr std::int64_t most = std::numeric_limits<std::int64_t>::max() / nanosecondTimescale;
    const std::int64_t seconds = value / timescale;
    if (seconds >= most || seconds <= -most) {
        return value > 0 ? std::chrono::nanoseconds::max() : std::chrono::nanoseconds::min();
    }
    const std::int64_t rest = value % timescale * nanosecondTimescale;
    const std::int64_t half = rest < 0 ? -timescale / 2 : timescale / 2;
    return std::chrono::nanoseconds(seconds * nanosecondTimescale + (rest + half) / timescale);
}

CMTime CMTimeMake(std::int64_t value, std::int32_t timescale) {
    if (timescale <= 0) return kCMTimeInvalid;
    return {value, timescale, CMTime::Kind::numeric};
}

CMTime CMTimeMakeWithSeconds(double seconds, std::int32_t preferredTimescale) {
    if (std::isnan(seconds) || preferredTimescale <= 0) return kCMTimeInvalid;
    const double units = std::round(seconds * preferredTimescale);
    constexpr double bound = 9223372036854775808.0;  // 2^63
    if (units >= bound) return {0, preferredTimescale, CMTime::Kind::positiveInfinity};
    if (units < -bound) return {0, preferredTimescale, CMTime::Kind::negativeInfinity};
    return CMTimeMake(static_cast<std::int64_t>(units), preferredTimescale);
}

double CMTimeGetSeconds(CMTime time) {
    switch (time.kind) {
        case CMTime::Kind::numeric:
            return static_cast<double>(time.value) / time.timescale;
        case CMTime::Kind::positiveInfinity:
            return std::numeric_limits<double>::infinity();
        case CMTime::Kind::negativeInfinity:
            return -std::numeric_limits<double>::infinity();
        case CMTime::Kind::invalid:
        case CMTime::Kind::indefinite:
            break;
    }
    return std::numeric_limits<double>::quiet_NaN();
}

}  // namespace korvel::platform
