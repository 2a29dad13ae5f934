#pragma once

#include <korvel/platform/Device.h>
#include <korvel/platform/avfoundation/MediaEngine.h>
#include <korvel/platform/foundation/Export.h>

#include <filesystem>
#include <memory>
#include <string>

namespace korvel::platform {

/// Every default is what a released application wants.
struct GStreamerOptions {
    /// PEM file of authorities to trust instead of the system's, for development services.
    std::filesystem::path certificateAuthorityFile{};
    /// "sha256//" and base64 of a public key that the service's certificate must carry; empty: any.
    std::string pinnedPublicKey{};
    /// The element that sound goes to.
    std::string audioSink = "autoaudiosink";
};

/// Plays what GStreamer plays, HLS above all: plain, and AES-128 with keys of any address scheme.
/// SAMPLE-AES is refused unless the device's content key system opens samples. Initialises
/// GStreamer if nobody has. Any thread; null, and the reason in
/// `*error`, if an element that it needs is not installed.
KORVEL_API std::shared_ptr<MediaEngine> makeMediaEngineGStreamer(
    const GStreamerOptions& options = {}, NSError* error = nullptr);

/// `Device::install` with this engine, which trusts what the device trusts unless `media` says
/// otherwise. False, too, if the engine cannot be made.
[[nodiscard]] KORVEL_API bool installDeviceGStreamer(Device device = {},
                                                     const DeviceOptions& options = {},
                                                     GStreamerOptions media = {});

}  // namespace korvel::platform
