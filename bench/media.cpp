// Paired turns: the player against a bare pipeline, alternating, so that a busy machine slows both.

#include <korvel/platform/Device.h>
#include <korvel/platform/avfoundation/AVPlayer.h>
#include <korvel/platform/backends/gstreamer/MediaEngineGStreamer.h>
#include <korvel/service/ContentService.h>

#include <gst/app/gstappsink.h>
#include <gst/gst.h>
#include <sodium/utils.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <ctime>
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

Device makeDevice() {
    Device device;
    device.clock = std::make_shared<SystemClock>();
    device.mainQueue = std::make_shared<MainQueue>(device.clock, MainQueue::Driver::manual);
    device.mediaEngine = makeMediaEngineGStreamer({.audioSink = "fakesink"});
    return device;
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
        player = std::make_shared<AVPlayer>(std::make_shared<AVPlayerItem>(asset), device);
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
double firstFrameBare(const char* bin, const std::string& address) {
    struct Arrival {
        std::mutex mutex;
        std::condition_variable changed;
        bool came = false;
    } arrival;
    const auto start = Steady::now();
    GstElement* playbin = gst_element_factory_make(bin, nullptr);
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

/// The encrypted playlist with the key itself in place of its address.
std::string addressWithKey(service::ContentService& service) {
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
    return service.baseURL() + "bench/v.m3u8";
}

void measureFirstFrames(service::ContentService& service, const Device& device) {
    const std::string plain = service.baseURL() + "media/50101/360p/index.m3u8";
    const std::string encrypted = service.baseURL() + "media/50101/v.ism/360p/index.m3u8";
    const std::string handed = addressWithKey(service);
    constexpr int turns = 41;
    for (int i = 0; i < 3; ++i) {  // plugins load at their first use
        firstFrame(device, encrypted);
        firstFrameBare("playbin3", plain);
    }
    report("first_frame_plain_vs_bare",
           ratio(
               turns, [&] { return firstFrame(device, plain); },
               [&] { return firstFrameBare("playbin", plain); }),
           1.1);
    report("first_frame_protected_vs_bare",
           ratio(
               turns, [&] { return firstFrame(device, encrypted); },
               [&] { return firstFrameBare("playbin", handed); }),
           1.15);
    report("first_frame_plain_vs_playbin3",
           ratio(
               turns, [&] { return firstFrame(device, plain); },
               [&] { return firstFrameBare("playbin3", plain); }),
           1.1);
}

/// The share of a core that 150 position and duration reports a second cost: a playing stream with
/// them against one without.
void measureReports(service::ContentService& service, const Device& device) {
    Show show(device, service.baseURL() + "media/50101/360p/index.m3u8");
    device.mainQueue->runUntil([&] { return CMTimeGetSeconds(show.player->currentTime()) > 0.2; },
                               20s);
    const auto share = [&](bool observed) {
        std::size_t reports = 0;
        double sum = 0;
        const auto token =
            observed ? show.player->addPeriodicTimeObserver(
                           CMTimeMakeWithSeconds(1. / 150, nanosecondTimescale), nullptr,
                           [&](CMTime time) {
                               sum += CMTimeGetSeconds(time) +
                                      CMTimeGetSeconds(show.player->currentItem()->duration());
                               ++reports;
                           })
                     : nullptr;
        timespec before{};
        timespec after{};
        const auto start = Steady::now();
        clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &before);
        device.mainQueue->runUntil([] { return false; }, 1s);
        clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &after);
        show.player->removeTimeObserver(token);
        if (observed && (reports < 149 || reports > 151))
            std::cout << "  " << reports << " reports in a second\n";
        const double cpu = static_cast<double>(after.tv_sec - before.tv_sec) +
                           static_cast<double>(after.tv_nsec - before.tv_nsec) * 1e-9;
        return 100 * cpu / Seconds(Steady::now() - start).count();
    };
    std::vector<double> differences;
    for (int i = 0; i < 9; ++i) {
        const double with = share(true);
        differences.push_back(with - share(false));
    }
    report("report_cpu_percent", std::max(median(differences), 0.), 2);
}

void measureClosing(service::ContentService& service, const Device& device) {
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
    report("close_ms_median", median(times), 50);
    report("close_ms_max", *std::max_element(times.begin(), times.end()), 150);
}

long resident() {
    std::ifstream status("/proc/self/status");
    for (std::string line; std::getline(status, line);) {
        if (line.starts_with("VmRSS:")) return std::stol(line.substr(6));
    }
    return 0;
}

/// Growth over so many cycles, in KiB, less that of bare pipelines which do the same.
void measureGrowth(service::ContentService& service, const Device& device) {
    const std::string plain = service.baseURL() + "media/50101/360p/index.m3u8";
    constexpr int cycles = 1000;
    const auto growth = [&](const std::function<void()>& cycle) {
        for (int i = 0; i < 100; ++i) cycle();
        const long before = resident();
        for (int i = 0; i < cycles; ++i) cycle();
        return static_cast<double>(resident() - before);
    };
    const double bare = growth([&] { firstFrameBare("playbin", plain); });
    const double ours = growth([&] { firstFrame(device, plain); });
    std::cout << "  " << cycles << " cycles: ours " << ours << " KiB, bare " << bare << " KiB\n";
    report("open_close_growth_kib", std::max(ours - std::max(bare, 0.), 0.), 4096);
}

}  // namespace

int main() {
    const Device device = makeDevice();
    if (!device.mediaEngine) return 1;
    service::ContentService service({.tls = false, .streams = KORVEL_STREAMS, .keptRequests = 0});
    measureFirstFrames(service, device);
    measureReports(service, device);
    measureClosing(service, device);
    measureGrowth(service, device);
    return 0;
}
