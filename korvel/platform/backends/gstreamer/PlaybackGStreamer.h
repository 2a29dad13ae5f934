#pragma once

#include <korvel/platform/avfoundation/MediaEngine.h>
#include <korvel/platform/foundation/ResponseStream.h>

#include <memory>
#include <string>

namespace korvel::platform::gst {

class Pipeline;

/// One stream in one playbin.
class PlaybackGStreamer final : public MediaPlayback {
public:
    PlaybackGStreamer(const URL& url, std::shared_ptr<StreamLoader> loader,
                      std::shared_ptr<AVAssetResourceLoader> keys,
                      std::shared_ptr<MediaEvents> events, const std::string& audioSink);
    ~PlaybackGStreamer() override;

    void setRate(double rate) override;
    void seek(std::chrono::nanoseconds to) override;
    std::optional<std::chrono::nanoseconds> position() override;
    std::optional<std::chrono::nanoseconds> duration() override;
    std::shared_ptr<const VideoFrame> newestFrame() override;

private:
    const std::shared_ptr<Pipeline> pipeline_;
};

}  // namespace korvel::platform::gst
