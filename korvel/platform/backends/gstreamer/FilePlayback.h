#pragma once

#include <korvel/platform/avfoundation/MediaEngine.h>
#include <korvel/platform/backends/gstreamer/StreamPlayback.h>

#include <memory>

namespace korvel::platform::gst {

/// One file over http(s), played while it comes: MP4, WebM and the like.
class FilePlayback final : public MediaPlayback {
public:
    FilePlayback(const URL& url, const StreamPlayback::Parts& parts);
    ~FilePlayback() override;

    void setRate(double rate) override;
    void setVolume(double volume) override;
    void seek(std::chrono::nanoseconds to) override;
    std::optional<std::chrono::nanoseconds> position() override;
    std::optional<std::chrono::nanoseconds> duration() override;
    std::shared_ptr<const VideoFrame> newestFrame() override;
    AVMediaSelectionGroup sounds() override;
    bool selectSound(const AVMediaSelectionOption& option) override;
    std::vector<MediaTimeRange> loaded() override;
    std::vector<AVPlayerItemAccessLogEvent> accessLog() override;
    std::vector<AVPlayerItemErrorLogEvent> errorLog() override;

private:
    class Course;
    const std::shared_ptr<Course> course_;
};

}  // namespace korvel::platform::gst
