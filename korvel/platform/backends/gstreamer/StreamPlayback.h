#pragma once

#include <korvel/platform/avfoundation/MediaEngine.h>
#include <korvel/platform/backends/gstreamer/StreamOutput.h>

#include <korvel/platform/hls/LineMemory.h>

#include <functional>
#include <memory>
#include <string>

namespace korvel::platform::gst {

/// An HLS stream: a presentation loads it, a pipeline shows it.
class StreamPlayback final : public MediaPlayback {
public:
    struct Parts {
        std::shared_ptr<StreamLoader> loader;
        std::shared_ptr<AVAssetResourceLoader> keys;
        std::shared_ptr<MediaEvents> events;
        std::string audioSink;
        std::vector<std::string> languages{};  ///< of the user, best first
        std::shared_ptr<hls::LineMemory> line{};
    };
    /// `isNoPlaylist`: the address leads to something else, and nothing comes of this playback. At
    /// most once, on the pool.
    StreamPlayback(const URL& url, const Parts& parts, std::function<void()> isNoPlaylist);
    ~StreamPlayback() override;

    void setRate(double rate) override;
    void setVolume(double volume) override;
    void seek(std::chrono::nanoseconds to) override;
    std::optional<std::chrono::nanoseconds> position() override;
    std::optional<std::chrono::nanoseconds> duration() override;
    std::shared_ptr<const VideoFrame> newestFrame() override;
    AVMediaSelectionGroup sounds() override;
    bool selectSound(const AVMediaSelectionOption& option) override;
    AVMediaSelectionGroup subtitles() override;
    void selectSubtitles(const AVSubtitleSelection& selection) override;
    std::vector<AVSubtitleCue> cues(std::chrono::nanoseconds from) override;
    std::vector<MediaTimeRange> loaded() override;
    std::vector<AVPlayerItemAccessLogEvent> accessLog() override;
    std::vector<AVPlayerItemErrorLogEvent> errorLog() override;

private:
    class Course;
    class Ear;
    const std::shared_ptr<Course> course_;
};

}  // namespace korvel::platform::gst
