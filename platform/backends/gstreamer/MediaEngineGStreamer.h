#pragma once

#include <korvel/platform/Device.h>
#include <korvel/platform/Export.h>
#include <korvel/platform/avfoundation/MediaEngine.h>

#include <filesystem>
#include <memory>
#include <string>
#include <vector>

namespace korvel::platform {

/// Every default is what a released application wants.
struct GStreamerOptions {
    /// PEM file of authorities to trust instead of the system's, for development services. It
    /// counts for everything in the process that relies on GIO's default trust.
    std::filesystem::path certificateAuthorityFile{};
    /// The element that sound goes to.
    std::string audioSink = "autoaudiosink";
    /// Address schemes of content keys that are known beforehand. Others are learnt when a stream
    /// names them, at the price of loading that first stream twice.
    std::vector<std::string> keySchemes{"skd"};
};

/// Plays what GStreamer plays, HLS above all: plain, and AES-128 with keys of any address scheme.
/// SAMPLE-AES is refused. Initialises GStreamer if nobody has. Any thread; null, and the reason in
/// `*error`, if an element that it needs is not installed.
KORVEL_API std::shared_ptr<MediaEngine> makeMediaEngineGStreamer(
    const GStreamerOptions& options = {}, NSError* error = nullptr);

/// `Device::install` with this engine, which trusts what the device trusts unless `media` says
/// otherwise. False, too, if the engine cannot be made.
[[nodiscard]] KORVEL_API bool installDeviceGStreamer(Device device = {},
                                                     const DeviceOptions& options = {},
                                                     GStreamerOptions media = {});

}  // namespace korvel::platform
