#pragma once

#include <korvel/platform/foundation/Export.h>

#include <cstdint>

namespace korvel {

/// What a running player tells the host. Every operation is optional: the defaults do nothing. Main
/// queue. Held strongly by the builder it was given to, weakly by the player. None may throw: an
/// exception that reaches the main queue ends the process.
class KORVEL_API KCSDKPlayerEventsListner {
public:
    virtual ~KCSDKPlayerEventsListner();

    /// 1: the play/pause toggle started playback, 0: it paused it. The start by `setAutoPlay` says
    /// nothing, and neither does a stream that fails: docs/completions.md shows who does.
    virtual void playerStatusWithStatus(std::int64_t status);
    /// Whole seconds performed so far: the player was closed, came to its end, or left full screen.
    virtual void playerExitWithDuration(std::int64_t duration);
    /// 150 times a second while the duration is known and the slider is not being dragged.
    virtual void currentVideoPositionWithDurationPlayedSeconds(float seconds);
    /// Right after each position.
    virtual void totalVideoDurationWithTotalDuration(float seconds);
    // Each tells that its value has changed, to false as well, so one call alone tells no state.
    // The first start: likely. A stall: likely, empty. Its end: empty, likely. A seek: likely,
    // likely.
    virtual void playbackBufferEmpty();
    virtual void playbackLikelyToKeepUp();
};

}  // namespace korvel
