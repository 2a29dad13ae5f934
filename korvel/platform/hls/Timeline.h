#pragma once

#include <chrono>
#include <cstdint>
#include <map>
#include <mutex>
#include <optional>
#include <vector>

namespace korvel::platform::hls {

/// Where containers' times lie on the presentation's time line. Within a discontinuity all
/// renditions and variants share their anchor: the playlist's start of the segment loaded first and
/// the container's time of its first picture. From then on times come from the container alone, so
/// that sound and picture keep together whatever the playlist rounds. Any thread.
class Timeline {
public:
    using Time = std::chrono::nanoseconds;

    /// The beginning of a segment.
    struct Beginning {
        std::int64_t discontinuity = 0;
        Time container{};            ///< of its first sample, in the container's times
        std::optional<Time> wrap{};  ///< period after which those begin again
        Time playlist{};             ///< where the playlist has the segment
        Time duration{};
        /// Where the segment in front of it ended, if that was loaded just before.
        std::optional<Time> goesOn{};
    };

    /// Whether there is an anchor for this discontinuity.
    bool isAnchored(std::int64_t discontinuity) const;
    /// What is to be added to the container's times of that segment. Makes an anchor where there is
    /// none, or where the container began its times anew without the playlist saying so.
    Time shift(const Beginning& beginning);
    /// The same for a time of the container that is expected about there; makes no anchor, nothing
    /// where there is none.
    std::optional<Time> shiftNear(Time expected, std::int64_t discontinuity, Time container,
                                  std::optional<Time> wrap) const;

private:
    mutable std::mutex mutex_;
    std::map<std::int64_t, std::vector<Time>> shifts_;  ///< by discontinuity; oldest first
};

}  // namespace korvel::platform::hls
