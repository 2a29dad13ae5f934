#pragma once

#include <korvel/platform/avfoundation/AVAssetResourceLoader.h>
#include <korvel/platform/avfoundation/MediaEngine.h>
#include <korvel/platform/foundation/Clock.h>
#include <korvel/platform/foundation/ResponseStream.h>
#include <korvel/platform/foundation/URL.h>
#include <korvel/platform/hls/LineMemory.h>
#include <korvel/platform/hls/SampleOutput.h>

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace korvel::platform::hls {

/// What a presentation works with.
struct PresentationParts {
    std::shared_ptr<StreamLoader> loader;
    std::shared_ptr<AVAssetResourceLoader> keys;  ///< asked for keys of other schemes than http(s)
    std::shared_ptr<SampleOutput> output;
    std::shared_ptr<PresentationEvents> events;
    std::shared_ptr<const Clock> clock = std::make_shared<SystemClock>();
    /// Runs the action after the delay, on any thread; the process's pool if empty.
    std::function<void(Clock::Duration, std::function<void()>)> after{};
    std::vector<std::string> languages{};  ///< that the user understands, best first
    /// Shared with the streams before and after it.
    std::shared_ptr<LineMemory> line = std::make_shared<LineMemory>();
};

/// One way in which the whole stream is to be had.
struct Variant {
    std::int64_t bitRate = 0;  ///< bits a second, at their peak; 0: not told
    int width = 0;             ///< 0: not told
    int height = 0;
    double frameRate = 0;  ///< 0: not told
    std::string codecs{};
    std::string address{};
};

/// Bounds that a host sets to the choice of variants; zero means none.
struct VariantBounds {
    std::int64_t bitRate = 0;
    int width = 0;  ///< of the view, in pixels
    int height = 0;
};

/// An HLS stream being loaded: playlists, variants, segments, keys, containers and times. It gives
/// samples to its output and knows when there are enough to play.
///
/// Any thread; no call waits for network or keys. Loads on threads of its own, which end soon after
/// `close` without anybody waiting for them; they hold loader, output and events that long.
class Presentation {
public:
    /// Begins to load; fails only through the events. Only http and https are ever asked for, and
    /// what came by https leads to https alone.
    static std::shared_ptr<Presentation> open(const URL& url, PresentationParts parts,
                                              VariantBounds bounds = {});
    virtual ~Presentation();

    /// After it neither output nor events are called. Waits for such a call in progress.
    virtual void close() = 0;
    /// Calls `SampleOutput::flush` on this thread, then loads from `to` on; times outside the
    /// stream are clamped to it. Of a live stream only a window is there: who seeks in front of it
    /// goes on where it begins, who seeks far behind it near its end. The stream does the same by
    /// itself once the window has passed by whoever paused.
    virtual void seek(std::chrono::nanoseconds to) = 0;
    /// At which rate samples are used up, while they are: for levels, in stream time a second.
    virtual void setRate(double rate) = 0;
    virtual void setBounds(VariantBounds bounds) = 0;

    /// As with `MediaPlayback`.
    virtual AVMediaSelectionGroup sounds() const = 0;
    virtual bool selectSound(const AVMediaSelectionOption& option) = 0;

    /// As with `MediaPlayback`.
    virtual AVMediaSelectionGroup subtitles() const = 0;
    virtual void selectSubtitles(const AVSubtitleSelection& selection) = 0;
    virtual std::vector<AVSubtitleCue> cues(std::chrono::nanoseconds from) const = 0;

    /// To be told by the output's queues: a sample of so many bytes has left one. Never waits.
    virtual void taken(Kind kind, std::size_t bytes) = 0;
    /// Likewise: a queue is empty, before its end, and a sample is wanted. Never waits.
    virtual void starved(Kind kind) = 0;

    /// Nothing while unknown, and of a live stream.
    virtual std::optional<std::chrono::nanoseconds> duration() const = 0;
    /// What is queued, from the position on.
    virtual std::vector<MediaTimeRange> buffered() const = 0;
    virtual std::vector<Variant> variants() const = 0;
    /// Oldest first; the last entry is of the variant in use.
    virtual std::vector<AVPlayerItemAccessLogEvent> accessLog() const = 0;
    virtual std::vector<AVPlayerItemErrorLogEvent> errorLog() const = 0;
};

}  // namespace korvel::platform::hls
