// Paired turns: the player against a bare pipeline, alternating, so that a busy machine slows both.
// The service is a process of its own: its work counts for neither.

#include <korvel/network/KCSDKNetworkManager.h>
#include <korvel/platform/Device.h>
#include <korvel/platform/avfoundation/AVPlayer.h>
#include <korvel/platform/backends/gstreamer/MediaEngineGStreamer.h>
#include <korvel/platform/foundation/SDKBundle.h>
#include <korvel/platform/uikit/UIWindow.h>
#include <korvel/player/KCSDKPlayerEventsListner.h>
#include <korvel/player/KCSDKPlayerOverlay.h>
#include <korvel/player/KCSDKPlayerView.h>
#include <service/ContentService.h>

#include <gst/app/gstappsink.h>
#include <gst/gst.h>
#include <sodium/utils.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cmath>
#include <condition_variable>
#include <csignal>
#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iostream>
#include <mutex>
#include <string>
#include <vector>

namespace {

using namespace korvel;
using namespace korvel::platform;
using namespace std::chrono_literals;
using Seconds = std::chrono::duration<double>;
using Steady = std::chrono::steady_clock;

double median(std::vector<double> values) {
    std::nth_element(values.begin(), values.begin() + static_cast<long>(values.size() / 2),
                     values.end());
    return values[values.size() / 2];
}

void report(const char* name, double value, double goal) {
    std::cout << name << ' ' << value << ' ' << goal << (value <= goal ? " ok" : " short")
              << std::endl;
}

/// The encrypted playlist with the key itself in place of its address, at "bench/v.m3u8".
void servePlaylistWithKey(service::ContentService& service) {
    std::ifstream file(service.options().streams / "protected/360p/index.m3u8");
    const auto key = service::contentKey("development-360p");
    std::string text(64, '\0');
    sodium_bin2base64(text.data(), text.size(), key.data(), key.size(),
                      sodium_base64_VARIANT_ORIGINAL);
    std::string playlist;
    for (std::string line; std::getline(file, line); playlist += line + '\n') {
        if (line.starts_with("#EXT-X-KEY"))
            line = "#EXT-X-KEY:METHOD=AES-128,URI=\"data:application/octet-stream;base64," +
                   std::string(text.c_str()) + '"';
        if (line.ends_with(".ts")) line = "/media/50101/v.ism/360p/" + line;
    }
    service.script(
        "/bench/v.m3u8", "GET",
        {.body = playlist, .headers = {{"Content-Type", "application/vnd.apple.mpegurl"}}}, 100000);
}

/// Before this process has threads.
class ServiceProcess {
public:
    ServiceProcess() {
        int ends[2];
        if (pipe(ends) != 0) std::abort();
        process_ = fork();
        if (process_ == 0) serve(ends[1]);
        close(ends[1]);
        char text[128];
        const auto size = read(ends[0], text, sizeof text);
        close(ends[0]);
        if (size <= 0) std::abort();
        url_.assign(text, static_cast<std::size_t>(size));
    }
    ~ServiceProcess() {
        kill(process_, SIGKILL);
        waitpid(process_, nullptr, 0);
    }
    ServiceProcess(const ServiceProcess&) = delete;
    ServiceProcess& operator=(const ServiceProcess&) = delete;

    /// "media/50101/index.m3u8" and such.
    std::string operator/(const std::string& path) const { return url_ + path; }

private:
    [[noreturn]] static void serve(int end) {
        prctl(PR_SET_PDEATHSIG, SIGKILL);
        service::ContentService service(
            {.tls = false, .streams = KORVEL_STREAMS, .keptRequests = 0});
        servePlaylistWithKey(service);
        const auto url = service.baseURL();
        if (write(end, url.data(), url.size()) < 0) _exit(1);
        for (;;) pause();
    }

    pid_t process_ = -1;
    std::string url_;
};

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

double firstFrame(const Device& device, const std::string& address) {
    const auto start = Steady::now();
    Show show(device, address);
    device.mainQueue->runUntil([&] { return show.showsPicture(); }, 20s);
    return Seconds(Steady::now() - start).count();
}

/// The same without any of our own: what the machine needs for a picture.
double firstFrameBare(const std::string& address) {
    struct Arrival {
        std::mutex mutex;
        std::condition_variable changed;
        bool came = false;
    } arrival;
    const auto start = Steady::now();
    GstElement* playbin = gst_element_factory_make("playbin3", nullptr);
    GstElement* video = gst_element_factory_make("appsink", nullptr);
    GstElement* audio = gst_element_factory_make("fakesink", nullptr);
    GstCaps* caps = gst_caps_from_string("video/x-raw,format=I420");
    g_object_set(video, "caps", caps, "sync", TRUE, nullptr);
    g_object_set(audio, "sync", TRUE, nullptr);
    gst_caps_unref(caps);
    GstAppSinkCallbacks callbacks{};
    callbacks.new_preroll = [](GstAppSink*, gpointer given) {
        auto& seen = *static_cast<Arrival*>(given);
        const std::lock_guard lock(seen.mutex);
        seen.came = true;
        seen.changed.notify_all();
        return GST_FLOW_OK;
    };
    gst_app_sink_set_callbacks(GST_APP_SINK(video), &callbacks, &arrival, nullptr);
    g_object_set(playbin, "uri", address.c_str(), "flags", 0x103, "video-sink", video, "audio-sink",
                 audio, "buffer-duration", gint64{1500} * GST_MSECOND, nullptr);
    gst_element_set_state(playbin, GST_STATE_PLAYING);
    {
        std::unique_lock lock(arrival.mutex);
        arrival.changed.wait_for(lock, 20s, [&] { return arrival.came; });
    }
    const double took = Seconds(Steady::now() - start).count();
    gst_element_set_state(playbin, GST_STATE_NULL);
    gst_object_unref(playbin);
    return took;
}

double ratio(int turns, const std::function<double()>& ours, const std::function<double()>& bare) {
    std::vector<double> one;
    std::vector<double> other;
    for (int i = 0; i < turns; ++i) {
        one.push_back(ours());
        other.push_back(bare());
    }
    std::cout << "  ours " << 1e3 * median(one) << " ms, bare " << 1e3 * median(other) << " ms\n";
    return median(one) / median(other);
}

void measureFirstFrames(const ServiceProcess& service, const Device& device) {
    const std::string plain = service / "media/50101/360p/index.m3u8";
    const std::string encrypted = service / "media/50101/v.ism/360p/index.m3u8";
    const std::string handed = service / "bench/v.m3u8";
    constexpr int turns = 41;
    for (int i = 0; i < 3; ++i) {  // plugins load at their first use
        firstFrame(device, encrypted);
        firstFrameBare(plain);
    }
    report("first_frame_plain_vs_playbin3",
           ratio(
               turns, [&] { return firstFrame(device, plain); },
               [&] { return firstFrameBare(plain); }),
           0.6);
    report("first_frame_protected_vs_playbin3",
           ratio(
               turns, [&] { return firstFrame(device, encrypted); },
               [&] { return firstFrameBare(handed); }),
           0.6);
    std::vector<double> large;
    for (int i = 0; i < turns; ++i)
        large.push_back(1e3 * firstFrame(device, service / "media/50101/720p/index.m3u8"));
    report("first_frame_720p_ms", median(large), 60);
}

/// From the command to the picture, in a class that plays.
void measureSeeks(const ServiceProcess& service, const Device& device) {
    Show show(device, service / "media/50101/360p/index.m3u8");
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
void measureReports(const ServiceProcess& service, const Device& device) {
    const auto window = make<UIWindow>(device.screen, CGRect{{0, 0}, {1280, 720}});
    window->setRootViewController(make<UIViewController>());
    const auto view = make<KCSDKPlayerView>(device, std::make_shared<KCSDKNetworkManager>(device));
    const auto listener = std::make_shared<Listener>();
    view->closePlayerCallback = [](std::int64_t) {};
    view->delegate = listener;
    window->rootViewController()->view()->addSubview(view);
    view->setFrame(window->bounds());
    view->loadVideo(*URL::parse(service / "media/50101/360p/index.m3u8"));
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

void measureClosing(const ServiceProcess& service, const Device& device) {
    const std::string plain = service / "media/50101/index.m3u8";
    const std::string encrypted = service / "media/50101/v.ism/manifest";
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

struct Footprint {
    double kib = 0;
    double threads = 0;
    double descriptors = 0;

    static Footprint now() {
        Footprint found;
        std::ifstream status("/proc/self/status");
        for (std::string line; std::getline(status, line);) {
            if (line.starts_with("VmRSS:")) found.kib = std::stod(line.substr(6));
            if (line.starts_with("Threads:")) found.threads = std::stod(line.substr(8));
        }
        const std::filesystem::directory_iterator files("/proc/self/fd");
        found.descriptors = static_cast<double>(std::distance(begin(files), end(files)));
        return found;
    }
    Footprint operator-(const Footprint& other) const {
        return {kib - other.kib, threads - other.threads, descriptors - other.descriptors};
    }
};

/// Growth over so many cycles; of memory, less that of bare pipelines which do the same.
void measureGrowth(const ServiceProcess& service, const Device& device) {
    const std::string plain = service / "media/50101/360p/index.m3u8";
    constexpr int cycles = 1000;
    const auto growth = [&](const std::function<void()>& cycle) {
        for (int i = 0; i < 100; ++i) cycle();
        const auto before = Footprint::now();
        for (int i = 0; i < cycles; ++i) cycle();
        return Footprint::now() - before;
    };
    const auto bare = growth([&] { firstFrameBare(plain); });
    const auto ours = growth([&] { firstFrame(device, plain); });
    std::cout << "  " << cycles << " cycles: ours " << ours.kib << " KiB, bare " << bare.kib
              << " KiB\n";
    report("open_close_growth_kib", std::max(ours.kib - std::max(bare.kib, 0.), 0.), 4096);
    // Helpers and kept connections come and go; a thousand cycles would show what stays.
    report("open_close_growth_threads", std::max(ours.threads, 0.), 4);
    report("open_close_growth_descriptors", std::max(ours.descriptors, 0.), 8);
}

}  // namespace

int main() {
    const ServiceProcess service;
    auto pattern = (std::filesystem::temp_directory_path() / "korvel-bench-XXXXXX").string();
    const std::filesystem::path data = mkdtemp(pattern.data());
    const Device& device = makeDevice(data);
    measureFirstFrames(service, device);
    measureSeeks(service, device);
    measureReports(service, device);
    measureClosing(service, device);
    measureGrowth(service, device);
    std::filesystem::remove_all(data);
    return 0;
}
