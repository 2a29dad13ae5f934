// Paired turns: our player against GStreamer's own, alternating, so that a busy machine slows both.
// Service and players are processes of their own: one's work does not count for the other.

#include "Players.h"

#include <korvel/network/KCSDKNetworkManager.h>
#include <korvel/platform/Device.h>
#include <korvel/platform/avfoundation/AVPlayer.h>
#include <korvel/platform/backends/gstreamer/MediaEngineGStreamer.h>
#include <korvel/platform/foundation/SDKBundle.h>
#include <korvel/platform/uikit/UIWindow.h>
#include <korvel/player/KCSDKPlayerEventsListner.h>
#include <korvel/player/KCSDKPlayerOverlay.h>
#include <korvel/player/KCSDKPlayerView.h>
#include <service/ServiceProcess.h>

#include <httplib.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cmath>
#include <csignal>
#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iostream>
#include <string>
#include <thread>
#include <vector>

namespace {

using namespace korvel;
using namespace korvel::platform;
using namespace std::chrono_literals;
using Seconds = std::chrono::duration<double>;
using Steady = std::chrono::steady_clock;

using bench::median;
using bench::PlayerProcess;
using bench::report;

/// The encrypted playlist at "bench/v.m3u8", its key for everybody: the peer asks nobody for one.
void servePlaylistWithKey(service::ContentService& service) {
    std::ifstream file(service.options().streams / "protected/360p/index.m3u8");
    const auto key = service::contentKey("development-360p");
    std::string playlist;
    for (std::string line; std::getline(file, line); playlist += line + '\n') {
        if (line.starts_with("#EXT-X-KEY")) line = "#EXT-X-KEY:METHOD=AES-128,URI=\"/bench/key\"";
        if (line.ends_with(".ts")) line = "/media/50101/v.ism/360p/" + line;
    }
    service.script(
        "/bench/v.m3u8", "GET",
        {.body = playlist, .headers = {{"Content-Type", "application/vnd.apple.mpegurl"}}}, 100000);
    service.script("/bench/key", "GET", {.body = std::string(key.begin(), key.end())}, 100000);
}

const Device& makeDevice(const std::filesystem::path& data) {
    Device device;
    device.clock = std::make_shared<SystemClock>();
    device.mainQueue = make<MainQueue>(device.clock, MainQueue::Driver::manual);
    device.mediaEngine = makeMediaEngineGStreamer({.audioSink = "fakesink"});
    device.bundles.emplace_back(std::string(sdkBundleIdentifier), KORVEL_BUNDLE);
    DeviceOptions options;
    options.applicationName = "bench";
    options.dataFolder = data;
    if (!device.mediaEngine || !Device::install(device, options)) std::abort();
    return Device::current();
}

class RightKeys final : public AVAssetResourceLoaderDelegate {
public:
    std::atomic<bool> answers = true;
    bool shouldWaitForLoadingOfRequestedResource(
        AVAssetResourceLoader&, std::shared_ptr<AVAssetResourceLoadingRequest> request) override {
        if (!answers) return true;
        const auto key = service::contentKey(request->request()->url.query()->substr(4));
        request->dataRequest()->respond(Data(key.begin(), key.end()));
        request->finishLoading();
        return true;
    }
};

struct Show {
    std::shared_ptr<RightKeys> keys = std::make_shared<RightKeys>();
    std::shared_ptr<AVPlayer> player;

    Show(const Device& device, const std::string& address) {
        auto asset = std::make_shared<AVURLAsset>(*URL::parse(address));
        asset->resourceLoader()->setDelegate(keys, DispatchQueue::serial("keys"));
        player = make<AVPlayer>(make<AVPlayerItem>(asset), device);
        player->play();
    }
    bool showsPicture() const { return player->newestFrame() != nullptr; }
};

void measureFirstFrames(const service::ServiceProcess& service, const std::string& fragments) {
    const std::string plain = "first " + service.baseURL() + "media/50101/360p/index.m3u8";
    const std::string encrypted =
        "first " + service.baseURL() + "media/50101/v.ism/360p/index.m3u8";
    const std::string handed = "first " + service.baseURL() + "bench/v.m3u8";
    constexpr int turns = 41;
    PlayerProcess ours("ours");
    PlayerProcess peer("playbin3");
    if (const auto found = bench::ratio(turns, ours, plain, peer, plain))
        report("first_frame_plain_vs_playbin3", *found, 0.6);
    if (const auto found = bench::ratio(turns, ours, encrypted, peer, handed))
        report("first_frame_protected_vs_playbin3", *found, 0.6);
    if (const auto found =
            bench::ratio(turns, ours, "first " + fragments, peer, "first " + fragments))
        report("first_frame_fmp4_vs_playbin3", *found, 0.7);
    std::vector<double> large;
    for (int i = 0; i < turns; ++i) {
        const auto numbers = ours.ask("first " + service.baseURL() + "media/50101/720p/index.m3u8");
        if (numbers) large.push_back(1e3 * numbers->front());
    }
    if (!large.empty()) report("first_frame_720p_ms", median(large), 60);
}

/// From the command to the picture, in a class that plays.
void measureSeeks(const service::ServiceProcess& service, const Device& device) {
    Show show(device, service.baseURL() + "media/50101/360p/index.m3u8");
    device.mainQueue->runUntil([&] { return show.showsPicture(); }, 20s);
    std::vector<double> times;
    for (int i = 0; i < 60; ++i) {
        const double to = i * 17 % 29 + 0.5;
        const auto start = Steady::now();
        show.player->seek(CMTimeMakeWithSeconds(to, 1000), kCMTimeZero, kCMTimeZero);
        device.mainQueue->runUntil(
            [&] {
                const Seconds shown = show.player->newestFrame()->time;
                return std::abs(shown.count() - to) < 0.2;
            },
            20s);
        times.push_back(1e3 * Seconds(Steady::now() - start).count());
    }
    report("seek_ms_median", median(times), 60);
}

struct Listener final : KCSDKPlayerEventsListner {
    int positions = 0;
    int durations = 0;
    void currentVideoPositionWithDurationPlayedSeconds(float) override { ++positions; }
    void totalVideoDurationWithTotalDuration(float) override { ++durations; }
};

double threadSeconds() {
    timespec time{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
    return static_cast<double>(time.tv_sec) + 1e-9 * static_cast<double>(time.tv_nsec);
}

/// The share of a core that the main thread takes while a class plays: position and duration 150
/// times a second to a listener and to the overlay with its controls shown, and the news of each
/// picture.
void measureReports(const service::ServiceProcess& service, const Device& device) {
    const auto window = make<UIWindow>(device.screen, CGRect{{0, 0}, {1280, 720}});
    window->setRootViewController(make<UIViewController>());
    const auto view = make<KCSDKPlayerView>(device, std::make_shared<KCSDKNetworkManager>(device));
    const auto listener = std::make_shared<Listener>();
    view->closePlayerCallback = [](std::int64_t) {};
    view->delegate = listener;
    window->rootViewController()->view()->addSubview(view);
    view->setFrame(window->bounds());
    view->loadVideo(*URL::parse(service.baseURL() + "media/50101/360p/index.m3u8"));
    view->addOverlay(nullptr)->toggleControls();
    view->player()->play();
    device.mainQueue->runUntil([&] { return CMTimeGetSeconds(view->player()->currentTime()) > 1; },
                               20s);
    std::vector<double> shares;
    for (int i = 0; i < 9; ++i) {
        listener->positions = listener->durations = 0;
        const auto start = Steady::now();
        const double before = threadSeconds();
        device.mainQueue->runUntil([] { return false; }, 1s);
        shares.push_back(100 * (threadSeconds() - before) / Seconds(Steady::now() - start).count());
        if (listener->positions < 149 || listener->positions > 151 ||
            listener->durations != listener->positions) {
            std::cout << "  " << listener->positions << " positions and " << listener->durations
                      << " durations in a second\n";
        }
    }
    report("report_cpu_percent", median(shares), 2);
    view->closeBtnTapped();
    device.mainQueue->runUntil([&] { return !view->player(); }, 5s);
}

void measureClosing(const service::ServiceProcess& service, const Device& device) {
    const std::string plain = service.baseURL() + "media/50101/index.m3u8";
    const std::string encrypted = service.baseURL() + "media/50101/v.ism/manifest";
    std::vector<double> times;
    for (int i = 0; i < 200; ++i) {
        auto show = std::make_unique<Show>(device, i % 2 ? plain : encrypted);
        show->keys->answers = i % 4 != 0;
        device.mainQueue->runUntil([] { return false; }, std::chrono::milliseconds(i * 13 % 150));
        if (i % 3 == 0) show->player->seek(CMTimeMake(i % 30, 1), kCMTimeZero, kCMTimeZero);
        device.mainQueue->runUntil([] { return false; }, std::chrono::milliseconds(i % 5));
        const auto start = Steady::now();
        show.reset();
        times.push_back(1e3 * Seconds(Steady::now() - start).count());
    }
    report("close_ms_median", median(times), 10);
    report("close_ms_max", *std::max_element(times.begin(), times.end()), 20);
}

/// Over so many cycles; of memory, less what a pipeline of the same decoders grows, which leak.
void measureGrowth(const service::ServiceProcess& service) {
    const std::string command =
        "grow " + service.baseURL() + "media/50101/360p/index.m3u8" + " 1000";
    const auto bare = PlayerProcess("bare").ask("grow " KORVEL_STREAMS "/plain/360p/00000.ts 1000");
    const auto ours = PlayerProcess("ours").ask(command);
    if (!ours || !bare) return;
    std::cout << "  1000 cycles: ours " << ours->at(0) << " KiB, of it in use " << ours->at(3)
              << " KiB, decoders " << bare->at(0) << " KiB, in use " << bare->at(3) << " KiB\n";
    const double leaked = std::max(bare->at(0), 0.);
    report("open_close_growth_kib", std::max(ours->at(0) - leaked, 0.), 4096);
    report("open_close_growth_in_use_kib", std::max(ours->at(3) - std::max(bare->at(3), 0.), 0.),
           256);
    // Helpers and kept connections come and go; a thousand cycles would show what stays.
    report("open_close_growth_threads", std::max(ours->at(1), 0.), 4);
    report("open_close_growth_descriptors", std::max(ours->at(2), 0.), 8);
}

/// With the streams of the benchmarks behind a server of their own.
void measureFirstFrames(const service::ServiceProcess& service) {
    httplib::Server streams;
    streams.set_mount_point("/", KORVEL_BENCH_STREAMS);
    streams.set_tcp_nodelay(true);
    const int port = streams.bind_to_any_port("127.0.0.1");
    const std::jthread serving([&] { streams.listen_after_bind(); });
    measureFirstFrames(service, "http://127.0.0.1:" + std::to_string(port) + "/fmp4/index.m3u8");
    streams.stop();
}

}  // namespace

/// usage: korvel_bench_media [first|seeks|reports|closing|growth|memory|start|traces]...; else all
int main(int count, char** arguments) {
    const service::ServiceProcess service(
        {.tls = false, .streams = KORVEL_STREAMS, .keptRequests = 0},
        [](service::ContentService& each) {
            servePlaylistWithKey(each);
            return std::string();
        });
    auto pattern = (std::filesystem::temp_directory_path() / "korvel-bench-XXXXXX").string();
    const std::filesystem::path data = mkdtemp(pattern.data());
    const Device& device = makeDevice(data);
    const std::pair<const char*, std::function<void()>> parts[] = {
        {"first", [&] { measureFirstFrames(service); }},
        {"seeks", [&] { measureSeeks(service, device); }},
        {"reports", [&] { measureReports(service, device); }},
        {"closing", [&] { measureClosing(service, device); }},
        {"growth", [&] { measureGrowth(service); }},
        {"memory", [] { bench::measureMemory(KORVEL_BENCH_STREAMS); }},
        {"start", [] { bench::measureSlowStart(KORVEL_BENCH_STREAMS); }},
        {"traces", [] { bench::measureTraces(KORVEL_BENCH_STREAMS); }}};
    const std::vector<std::string> asked(arguments + 1, arguments + count);
    for (const auto& [name, measure] : parts) {
        if (asked.empty() || std::find(asked.begin(), asked.end(), name) != asked.end()) measure();
    }
    std::filesystem::remove_all(data);
    return 0;
}
