// A whole host without a window: logs in, lists classes, plays one, and says what became of it.
// usage: korvel-sample-console [CLASS [SECONDS]]; the environment names service and user.
#include <korvel/KorvelContentSDK.h>
#include <korvel/platform/backends/gstreamer/MediaEngineGStreamer.h>

#include <cstdlib>
#include <iostream>

using namespace korvel;

static std::string setting(const char* name, const char* otherwise = "") {
    const char* value = std::getenv(name);  // NOLINT(concurrency-mt-unsafe): nobody sets it
    return value ? value : otherwise;
}

static int failed(const Failure& failure) {
    std::cerr << failure.description() << '\n';
    return 1;
}

int main(int argc, char** argv) {
    platform::DeviceOptions options{.certificateAuthorityFile = setting("KORVEL_CA")};
    options.console = [](std::string_view) {};
    if (!platform::installDeviceGStreamer(
            {}, options, {.audioSink = setting("KORVEL_AUDIO_SINK", "autoaudiosink")})) {
        return failed({.message = "This machine cannot play."});
    }
    const auto queue = platform::Device::current().mainQueue;
    queue->drain();  // from now on it is this thread that drives it, while it waits below

    const ContentClient client(
        std::make_shared<KCSDKConfig>(setting("KORVEL_URL"), setting("KORVEL_SECRET_KEY"),
                                      setting("KORVEL_API_KEY"), setting("KORVEL_TENANT"), ""));
    const auto user = client.logIn(setting("KORVEL_USER")).get();
    if (!user) return failed(user.failure());
    const auto page = client.classes({.page = 1, .size = 5}).get();
    if (!page) return failed(page.failure());
    for (const auto& item : page->items) std::cout << item->tag << "  " << item->className << '\n';

    const auto found = client.classDetails(argc > 1 ? argv[1] : page->items.at(0)->tag).get();
    if (!found) return failed(found.failure());
    PlayOptions play{.in = platform::make<platform::UIView>(platform::CGRect(0, 0, 1280, 720))};
    auto started = client.play(*found, play).get();
    if (!started && started.failure().consent) {  // once the user has agreed to what it says
        const auto agreed = client.acceptConsent(started.failure().consent->consentTag).get();
        if (!agreed) return failed(agreed.failure());
        started = client.play(*found, play).get();
    }
    if (!started) return failed(started.failure());

    const auto playback = *started;
    const auto isOver = [&] { return playback->status().recorded.has_value(); };
    queue->runUntil(isOver, std::chrono::seconds(argc > 2 ? std::atoi(argv[2]) : 10));
    playback->stop();
    queue->runUntil(isOver, std::chrono::seconds(30));
    const auto end = playback->status();
    if (end.failure) return failed(*end.failure);
    if (!isOver() || !*end.recorded) return failed({.message = "The record is on its way."});
    std::cout << end.performedSeconds << " s recorded\n";
}
