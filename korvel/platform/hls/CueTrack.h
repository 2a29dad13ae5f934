#pragma once

#include <korvel/platform/avfoundation/AVSubtitleCue.h>

#include <chrono>
#include <vector>

namespace korvel::platform::hls {

/// Cues in order of time, each once: what segments repeat or part where they meet is one cue again.
/// A value.
class CueTrack {
public:
    using Time = std::chrono::nanoseconds;

    CueTrack() = default;
    explicit CueTrack(std::vector<AVSubtitleCue> cues);

    /// Those of this moment, of very many the latest, and the next one to begin.
    std::vector<AVSubtitleCue> at(Time time) const;
    bool operator==(const CueTrack&) const = default;

private:
    std::vector<AVSubtitleCue> cues_;
    std::vector<Time> ends_;  ///< the last end up to each of them
};

}  // namespace korvel::platform::hls
