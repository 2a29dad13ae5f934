#pragma once

#include <korvel/platform/backends/gstreamer/StreamPlayback.h>

#include <memory>
#include <mutex>

namespace korvel::platform::gst {

/// What an address leads to, a stream or a file. It is taken for a stream until it turns out to be
/// none, as most are.
class PlaybackGStreamer final : public MediaPlayback {
public:
    PlaybackGStreamer(const URL& url, StreamPlayback::Parts parts);
    ~PlaybackGStreamer() override;

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
    struct Choice;
    std::shared_ptr<MediaPlayback> chosen() const;

    const std::shared_ptr<Choice> choice_;
};

}  // namespace korvel::platform::gst
