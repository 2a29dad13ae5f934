#include <korvel/platform/backends/gstreamer/Pipeline.h>
#include <korvel/platform/backends/gstreamer/PlaybackGStreamer.h>

#include <utility>

namespace korvel::platform::gst {

PlaybackGStreamer::PlaybackGStreamer(const URL& url, std::shared_ptr<StreamLoader> loader,
                                     std::shared_ptr<AVAssetResourceLoader> keys,
                                     std::shared_ptr<MediaEvents> events,
                                     const std::string& audioSink)
    : pipeline_(
          Pipeline::open(url, std::move(loader), std::move(keys), std::move(events), audioSink)) {}

PlaybackGStreamer::~PlaybackGStreamer() { pipeline_->close(); }

void PlaybackGStreamer::setRate(double rate) { pipeline_->setRate(rate); }

void PlaybackGStreamer::seek(std::chrono::nanoseconds to) { pipeline_->seek(to); }

std::optional<std::chrono::nanoseconds> PlaybackGStreamer::position() {
    return pipeline_->position();
}

std::optional<std::chrono::nanoseconds> PlaybackGStreamer::duration() {
    return pipeline_->duration();
}

std::shared_ptr<const VideoFrame> PlaybackGStreamer::newestFrame() {
    return pipeline_->newestFrame();
}

}  // namespace korvel::platform::gst
