#include <korvel/platform/backends/gstreamer/Pace.h>

#include <algorithm>
#include <cmath>

namespace korvel::platform::gst {

namespace {

/// Containers round times to a 90,000th of a second: a seek to a picture's own time must not come
/// out just before it.
constexpr std::chrono::nanoseconds slack = std::chrono::microseconds(50);

}  // namespace

Pace::Time Pace::Piece::runningAt(Time time) const {
    return running + Time(std::llround(static_cast<double>((time - from).count()) / rate));
}

void Pace::restart(Time to) {
    const std::lock_guard lock(mutex_);
    piece_ = {.from = to, .running = {}, .rate = rate_, .number = piece_.number + 1};
    passed_ = to;
}

void Pace::setRate(double rate) {
    const std::lock_guard lock(mutex_);
    rate_ = rate;
    if (piece_.rate == rate) return;
    piece_ = {.from = passed_,
              .running = piece_.runningAt(passed_),
              .rate = rate,
              .number = piece_.number + 1};
}

Pace::Time Pace::timeAt(Time running) const {
    const std::lock_guard lock(mutex_);
    const auto since = static_cast<double>((running - piece_.running).count());
    return piece_.from + Time(std::llround(since * piece_.rate));
}

Pace::Piece Pace::pass(Time time) {
    const std::lock_guard lock(mutex_);
    passed_ = std::max(passed_, time);
    return piece_;
}

Pace::Piece Pace::current() const {
    const std::lock_guard lock(mutex_);
    return piece_;
}

GstSegment segmentOf(const Pace::Piece& piece, std::chrono::nanoseconds from, bool isFirst) {
    // The pipeline's time has no numbers below zero.
    auto start = from + slack;
    if (!isFirst && piece.runningAt(start).count() < 0) {
        start = piece.from - Pace::Time(static_cast<std::int64_t>(
                                 static_cast<double>(piece.running.count()) * piece.rate));
    }
    GstSegment segment;
    gst_segment_init(&segment, GST_FORMAT_TIME);
    segment.rate = piece.rate;
    segment.start = segment.position = static_cast<guint64>((start + lead).count());
    segment.time = static_cast<guint64>(std::max(start - slack, Pace::Time::zero()).count());
    segment.base = static_cast<guint64>(std::max<std::int64_t>(piece.runningAt(start).count(), 0));
    return segment;
}

}  // namespace korvel::platform::gst
