#include <korvel/platform/avfoundation/AVError.h>
#include <korvel/platform/backends/gstreamer/Handles.h>
#include <korvel/platform/backends/gstreamer/MediaEngineGStreamer.h>
#include <korvel/platform/backends/gstreamer/PlaybackGStreamer.h>
#include <korvel/platform/backends/gstreamer/Registry.h>
#include <korvel/platform/foundation/DispatchQueue.h>
#include <korvel/platform/hls/Cipher.h>

#include <atomic>
#include <utility>

namespace korvel::platform {

namespace {

using gst::Ref;

class MediaEngineGStreamer final : public MediaEngine {
public:
    MediaEngineGStreamer(std::shared_ptr<StreamLoader> loader, std::string audioSink)
        : loader_(std::move(loader)), audioSink_(std::move(audioSink)) {}

    std::unique_ptr<MediaPlayback> open(const URL& url, std::shared_ptr<AVAssetResourceLoader> keys,
                                        std::shared_ptr<MediaEvents> events,
                                        std::vector<std::string> languages) override {
        return std::make_unique<gst::PlaybackGStreamer>(
            url, gst::StreamPlayback::Parts{.loader = loader_,
                                            .keys = std::move(keys),
                                            .events = std::move(events),
                                            .audioSink = audioSink_,
                                            .languages = std::move(languages),
                                            .line = line_});
    }

    void prepare(const std::optional<URL>& url) override {
        if (url) loader_->connect(*url);
        if (!isWarm_.exchange(true)) DispatchQueue::global().async([] { loadUsualPlugins(); });
    }

private:
    /// Plugins are loaded when their first element is made, which takes as long as a round trip.
    static void loadUsualPlugins() {
        for (const char* const samples : {"video/x-h264", "audio/mpeg, mpegversion=(int)4"}) {
            const gst::Caps caps(gst_caps_from_string(samples));
            (void)gst::makeParser(caps.get());
            const auto decoder = gst::makeDecoder(caps.get());
            if (decoder) gst_element_set_state(decoder.get(), GST_STATE_NULL);
        }
        for (const char* const element :
             {"appsink", "videoconvert", "audioconvert", "scaletempo", "audioresample", "volume"}) {
            GstElement* made = gst_element_factory_make(element, nullptr);
            if (made) gst_object_unref(gst_object_ref_sink(made));
        }
    }

    std::atomic<bool> isWarm_ = false;
    const std::shared_ptr<StreamLoader> loader_;
    const std::string audioSink_;
    const std::shared_ptr<hls::LineMemory> line_ = std::make_shared<hls::LineMemory>();
};

/// Why the engine cannot be; empty if it can.
std::string prepare(const GStreamerOptions& options) {
    GError* error = nullptr;
    if (!gst_init_check(nullptr, nullptr, &error)) {
        std::string reason = error ? error->message : "GStreamer cannot be initialised.";
        g_clear_error(&error);
        return reason;
    }
    for (const std::string& element :
         {std::string("appsink"), std::string("videoconvert"), std::string("audioconvert"),
          std::string("scaletempo"), std::string("audioresample"), std::string("volume"),
          std::string("multiqueue"), std::string("typefind"), options.audioSink}) {
        if (!Ref<GstElementFactory>(gst_element_factory_find(element.c_str())))
            return "GStreamer's element \"" + element + "\" is not installed.";
    }
    std::error_code unreadable;
    const auto& authorities = options.certificateAuthorityFile;
    if (!authorities.empty() && !std::filesystem::is_regular_file(authorities, unreadable))
        return "There is no file \"" + authorities.string() + "\".";
    return {};
}

}  // namespace

std::shared_ptr<MediaEngine> makeMediaEngineGStreamer(const GStreamerOptions& options,
                                                      NSError* error) {
    std::string reason = prepare(options);
    if (reason.empty()) {
        hls::prepareCiphers();
        return std::make_shared<MediaEngineGStreamer>(
            makeStreamLoader({.certificateAuthorityFile = options.certificateAuthorityFile,
                              .pinnedPublicKey = options.pinnedPublicKey}),
            options.audioSink);
    }
    if (error) *error = makeAVError(AVError::noMediaEngine, std::move(reason));
    return nullptr;
}

bool installDeviceGStreamer(Device device, const DeviceOptions& options, GStreamerOptions media) {
    if (media.certificateAuthorityFile.empty())
        media.certificateAuthorityFile = options.certificateAuthorityFile;
    if (media.pinnedPublicKey.empty()) media.pinnedPublicKey = options.pinnedPublicKey;
    device.mediaEngine = makeMediaEngineGStreamer(media);
    return device.mediaEngine && Device::install(std::move(device), options);
}

}  // namespace korvel::platform
