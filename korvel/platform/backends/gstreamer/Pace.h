#pragma once

#include <korvel/platform/backends/gstreamer/Handles.h>

#include <chrono>
#include <mutex>

namespace korvel::platform::gst {

/// How the stream's time runs along the pipeline's since the last seek: in pieces of one rate each.
/// All branches ask the same one, so picture and sound change their rate at the same moment of the
/// stream. Any thread.
class Pace {
public:
    using Time = std::chrono::nanoseconds;

    struct Piece {
        Time from{};     ///< of the stream
        Time running{};  ///< of the pipeline, there
        double rate = 1;
        unsigned number = 0;  ///< grows with every piece

        Time runningAt(Time time) const;
    };

    /// All begins anew at `to`, at the rate set.
    void restart(Time to);
    /// From the first moment on that no branch has passed on yet.
    void setRate(double rate);

    /// Of the stream, when the pipeline has played so long.
    Time timeAt(Time running) const;
    /// The piece of a sample at `time`, which a branch passes on now.
    Piece pass(Time time);
    /// The piece that the last sample was of.
    Piece current() const;

private:
    mutable std::mutex mutex_;
    Piece piece_;
    Time passed_{};  ///< the latest
    double rate_ = 1;
};

/// What serves decoders that look back must not lie before zero: all times get this added.
inline constexpr std::chrono::nanoseconds lead = std::chrono::seconds(1000);

/// A segment in which nothing before `from` is shown, and all behind it in the time of `piece`.
/// `isFirst`: even if `from` lies before that piece, it is what is shown at once.
GstSegment segmentOf(const Pace::Piece& piece, std::chrono::nanoseconds from, bool isFirst);

}  // namespace korvel::platform::gst
