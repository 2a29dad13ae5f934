#pragma once

#include <korvel/platform/Diagnostics.h>
#include <korvel/platform/foundation/Bundle.h>
#include <korvel/platform/foundation/Clock.h>
#include <korvel/platform/foundation/Console.h>
#include <korvel/platform/foundation/Export.h>
#include <korvel/platform/foundation/Locale.h>
#include <korvel/platform/foundation/MainQueue.h>
#include <korvel/platform/foundation/URLSession.h>
#include <korvel/platform/localytics/Localytics.h>
#include <korvel/platform/security/Keychain.h>
#include <korvel/platform/security/SealedRecords.h>

#include <cstddef>
#include <filesystem>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace korvel::platform {

class ContentKeySystem;
class MediaEngine;
class Screen;
class StreamLoader;

/// What a host may choose about the standard device. Every default is what a released application
/// wants.
struct DeviceOptions {
    /// Names the folder of keychain, outbox and event journal; the program's file name if empty.
    std::string applicationName = {};
    /// Where that folder lies; `$XDG_DATA_HOME`, else `~/.local/share`, if empty. Not tried before
    /// it is needed: where nothing can be written, or others than the user can write, nothing is
    /// remembered, the diagnostics are told, and the service refuses (401) what needs a log-in.
    std::filesystem::path dataFolder = {};
    /// PEM file trusted instead of the system's authorities, for development services.
    std::filesystem::path certificateAuthorityFile = {};
    /// "sha256//" and base64 of a public key that the service's certificate must carry; empty: any.
    std::string pinnedPublicKey = {};
    /// Address of the proxy that all requests and streams go through ("http://proxy.example:3128",
    /// also https, socks4a and socks5h); empty: none.
    std::string proxy = {};
    /// Without a `proxy`: go through the one that the environment names ("https_proxy" and its
    /// like), if any. Otherwise the environment has no say.
    bool proxyFromEnvironment = false;
    /// Keep secrets in the desktop's Secret Service where there is one, else in the device's own
    /// store.
    bool preferSecretService = false;
    /// Address that batches of analytics events are sent to; empty: they are kept for inspection.
    std::string analyticsCollector = {};
    /// Bytes that an answer of the service may have, after decompression; a longer one counts as
    /// not understood. While it is decoded an answer takes up to fifteen times as much memory. A
    /// page of 1,000 classes has about one megabyte.
    std::size_t largestAnswer = std::size_t{2} << 20;
    /// Takes each of the SDK's lines, without its end, on any thread; empty: standard output. One
    /// that does nothing, `[](std::string_view) {}`, silences them; there are records with the
    /// user's identifier among them.
    std::function<void(std::string_view line)> console = {};
};

/// Everything that the SDK needs of the machine it runs on. The SDK reads it at its first use and
/// keeps it; a host that wants another part installs a device of its own before that.
struct KORVEL_API Device {
    std::shared_ptr<URLSession> urlSession;
    std::shared_ptr<Keychain> keychain;
    /// What a client keeps until the service has it; nothing else uses them.
    std::shared_ptr<SealedRecords> outbox;
    std::shared_ptr<MainQueue> mainQueue;
    std::shared_ptr<Locale> locale;
    std::shared_ptr<Clock> clock;
    std::shared_ptr<Console> console;
    std::shared_ptr<Localytics> localytics;
    std::shared_ptr<Diagnostics> diagnostics;  ///< may stay empty
    /// Empty in the standard device, which has no player: a host that plays links one, such as
    /// korvel::gstreamer, and installs it.
    std::shared_ptr<MediaEngine> mediaEngine;
    std::shared_ptr<ContentKeySystem> contentKeySystem;
    std::shared_ptr<Screen> screen;
    std::vector<Bundle> bundles;
    std::size_t largestAnswer = 0;  ///< 0: that of the options

    /// A complete device made of this machine's own parts. Any thread.
    static Device standard(const DeviceOptions& options = {});

    /// Makes `device` the process's device, its empty parts filled from `standard`. False, and
    /// nothing changes, once a device is in use: whatever needs one first, be it a builder or a
    /// subscription request that is made, takes the standard one for good. Any thread.
    [[nodiscard]] static bool install(Device device, const DeviceOptions& options = {});

    /// The process's device; `standard` if none was installed. Any thread.
    static const Device& current();

    /// The bundle of that identifier; null if the device has none. Borrowed.
    const Bundle* bundle(std::string_view identifier) const;
};

/// How the standard device loads media, for media engines that bring no loader of their own. Of the
/// options, those on trust and proxies count. Any thread.
KORVEL_API std::shared_ptr<StreamLoader> makeStreamLoader(const DeviceOptions& options = {});

}  // namespace korvel::platform
