#include <korvel/platform/avfoundation/AVError.h>
#include <korvel/platform/backends/gstreamer/Handles.h>
#include <korvel/platform/backends/gstreamer/KeySource.h>
#include <korvel/platform/backends/gstreamer/MediaEngineGStreamer.h>
#include <korvel/platform/backends/gstreamer/PlaybackGStreamer.h>

#include <gio/gio.h>

#include <utility>

namespace korvel::platform {

namespace {

using gst::Ref;

class MediaEngineGStreamer final : public MediaEngine {
public:
    explicit MediaEngineGStreamer(std::string audioSink) : audioSink_(std::move(audioSink)) {}

    std::unique_ptr<MediaPlayback> open(const URL& url, std::shared_ptr<AVAssetResourceLoader> keys,
                                        std::shared_ptr<MediaEvents> events) override {
        return std::make_unique<gst::PlaybackGStreamer>(url, std::move(keys), std::move(events),
                                                        audioSink_);
    }

private:
    const std::string audioSink_;
};

/// The playlists' own sources take nothing but the process's default trust.
bool trust(const std::filesystem::path& file, std::string& reason) {
    GError* error = nullptr;
    GTlsDatabase* database = g_tls_file_database_new(file.c_str(), &error);
    if (!database) {
        reason = error->message;
        g_error_free(error);
        return false;
    }
    g_tls_backend_set_default_database(g_tls_backend_get_default(), database);
    g_object_unref(database);
    return true;
}

/// Why the engine cannot be; empty if it can.
std::string prepare(const GStreamerOptions& options) {
    GError* error = nullptr;
    if (!gst_init_check(nullptr, nullptr, &error)) {
        std::string reason = error ? error->message : "GStreamer cannot be initialised.";
        g_clear_error(&error);
        return reason;
    }
    for (const std::string& element : {std::string("playbin"), std::string("appsink"),
                                       std::string("hlsdemux"), options.audioSink}) {
        if (!Ref<GstElementFactory>(gst_element_factory_find(element.c_str())))
            return "GStreamer's element \"" + element + "\" is not installed.";
    }
    std::string reason;
    if (!options.certificateAuthorityFile.empty() &&
        !trust(options.certificateAuthorityFile, reason))
        return reason;
    for (const std::string& scheme : options.keySchemes) gst::registerKeyScheme(scheme);
    return {};
}

}  // namespace

std::shared_ptr<MediaEngine> makeMediaEngineGStreamer(const GStreamerOptions& options,
                                                      NSError* error) {
    std::string reason = prepare(options);
    if (reason.empty()) return std::make_shared<MediaEngineGStreamer>(options.audioSink);
    if (error) *error = makeAVError(AVError::noMediaEngine, std::move(reason));
    return nullptr;
}

bool installDeviceGStreamer(Device device, const DeviceOptions& options, GStreamerOptions media) {
    if (media.certificateAuthorityFile.empty())
        media.certificateAuthorityFile = options.certificateAuthorityFile;
    device.mediaEngine = makeMediaEngineGStreamer(media);
    return device.mediaEngine && Device::install(std::move(device), options);
}

}  // namespace korvel::platform
