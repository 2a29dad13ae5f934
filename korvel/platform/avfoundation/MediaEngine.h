#pragma once

#include <korvel/platform/avfoundation/AVAssetResourceLoader.h>
#include <korvel/platform/avfoundation/AVMediaSelection.h>
#include <korvel/platform/avfoundation/AVPlayerItemLogs.h>
#include <korvel/platform/avfoundation/AVSubtitleCue.h>
#include <korvel/platform/avfoundation/MediaEvents.h>
#include <korvel/platform/avfoundation/VideoFrame.h>
#include <korvel/platform/foundation/URL.h>

#include <chrono>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace korvel::platform {

/// A piece of a stream's time.
struct MediaTimeRange {
    std::chrono::nanoseconds start{};
    std::chrono::nanoseconds end{};
};

/// One stream being loaded and decoded. Main queue; no call waits for network, key or decoder.
///
/// It begins at rate 0, loading; what happens it reports to its `MediaEvents`. Rates and seeks are
/// asked of it only once it has reported to be ready, and one seek at a time.
class KORVEL_API MediaPlayback {
public:
    /// Stops and releases everything at once: a key request that nobody answers holds nothing up,
    /// and is cancelled, by which whoever blocks for it learns that nobody waits any more.
    virtual ~MediaPlayback();

    /// 0 stops the picture where it is. Negative rates are never asked.
    virtual void setRate(double rate) = 0;
    /// From 0, silence, to 1; 1 at first.
    virtual void setVolume(double volume) = 0;
    /// To exactly this picture, at the rate set; `to` lies within the stream. Reports `seekEnded`.
    virtual void seek(std::chrono::nanoseconds to) = 0;
    /// Nothing while unknown.
    virtual std::optional<std::chrono::nanoseconds> position() = 0;
    virtual std::optional<std::chrono::nanoseconds> duration() = 0;
    /// The picture of this moment; null until there is one.
    virtual std::shared_ptr<const VideoFrame> newestFrame() = 0;

    /// The sounds that the stream offers; none while unknown, or where there is no choice.
    virtual AVMediaSelectionGroup sounds() = 0;
    /// From the next seek on, or from the start where nothing has been loaded yet; kept until it is
    /// known what there is. True if another one is being played or loaded.
    virtual bool selectSound(const AVMediaSelectionOption& option) = 0;

    /// The subtitles that the stream offers; none while unknown. Here, for engines without them,
    /// none at all.
    virtual AVMediaSelectionGroup subtitles();
    /// At once, without a seek; kept until it is known what there is. Reports `cuesChanged` when
    /// their words are there. None at first. What the stream does not have counts as none.
    virtual void selectSubtitles(const AVSubtitleSelection& selection);
    /// Those chosen that are said at `from` and, behind them, at least the next to begin, as far as
    /// they are loaded, in order of their start. Cheap: asked for each picture.
    virtual std::vector<AVSubtitleCue> cues(std::chrono::nanoseconds from);

    /// What is loaded, from the position on.
    virtual std::vector<MediaTimeRange> loaded() = 0;
    /// Oldest first, the one in use last. Start-up times are the item's to tell.
    virtual std::vector<AVPlayerItemAccessLogEvent> accessLog() = 0;
    virtual std::vector<AVPlayerItemErrorLogEvent> errorLog() = 0;
};

/// What plays streams on a device. Main queue.
class KORVEL_API MediaEngine {
public:
    virtual ~MediaEngine();
    /// Begins to load; never fails here but through the events. `keys` gives the keys of encrypted
    /// segments whose key address is of a scheme that the engine does not load itself. `languages`:
    /// what the device's user understands, best first.
    virtual std::unique_ptr<MediaPlayback> open(const URL& url,
                                                std::shared_ptr<AVAssetResourceLoader> keys,
                                                std::shared_ptr<MediaEvents> events,
                                                std::vector<std::string> languages) = 0;
    /// A hint that a stream will be opened soon, probably of the server of `url`: gets ready what
    /// takes time. Returns at once. Any thread. Here it does nothing.
    virtual void prepare(const std::optional<URL>& url);
};

}  // namespace korvel::platform
