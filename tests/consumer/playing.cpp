// A host that plays and shows nothing: the SDK and its media library, and no toolkit.
#include <korvel/KorvelContentSDK.h>
#include <korvel/platform/backends/gstreamer/MediaEngineGStreamer.h>
#include <korvel/platform/uikit/Screen.h>

#include <cstdio>
#include <cstdlib>

int main() {
    korvel::NSError error;
    korvel::platform::Device device;
    device.mediaEngine = korvel::platform::makeMediaEngineGStreamer({}, &error);
    if (!device.mediaEngine) {
        std::fprintf(stderr, "playing: %s\n", error.description().c_str());
        return EXIT_FAILURE;
    }
    if (!korvel::platform::Device::install(device)) return EXIT_FAILURE;
    const auto window = korvel::platform::make<korvel::platform::UIWindow>(
        korvel::platform::Device::current().screen);
    const auto builder = korvel::KCSDKVideoViewBuilder::create(nullptr);
    builder->startVideoIn(window, nullptr, {});
    std::puts("playing: linked and ran");
}
