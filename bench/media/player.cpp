// One player in a process of its own, so that memory is each one's own and a peer that breaks off
// takes its figures alone with it. usage: korvel_bench_player ours|playbin3|bare. Lines in, and for
// each a line of numbers out:
//   first ADDRESS           seconds to the first picture
//   play ADDRESS SECONDS    seconds to the first picture, stalled in all, longest stall; peak KiB
//   grow ADDRESS CYCLES     KiB, threads, descriptors and KiB in use of those allocated more after
//                           so many plays of a picture

#include <korvel/platform/Device.h>
#include <korvel/platform/avfoundation/AVPlayer.h>
#include <korvel/platform/backends/gstreamer/MediaEngineGStreamer.h>
#include <service/ContentService.h>

#include <gst/app/gstappsink.h>
#include <gst/gst.h>
#include <malloc.h>

#include <chrono>
#include <condition_variable>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <memory>
#include <mutex>
#include <optional>
#include <sstream>
#include <string>

namespace {

using namespace korvel;
using namespace korvel::platform;
using namespace std::chrono_literals;
using Seconds = std::chrono::duration<double>;
using Steady = std::chrono::steady_clock;

/// When the pictures came. Any thread.
class Pictures {
public:
    void came(Seconds time) {
        const std::lock_guard lock(mutex_);
        const auto now = Steady::now();
        if (!last_) first_ = now - start_;
        if (last_) {
            const Seconds late = (now - *last_) - (time - time_);
            if (late > 100ms) {
                stalled_ += late;
                longest_ = std::max(longest_, late);
            }
        }
        last_ = now;
        time_ = time;
        changed_.notify_all();
    }
    bool waitUntil(Seconds time, Seconds limit) {
        std::unique_lock lock(mutex_);
        return changed_.wait_for(lock, limit, [&] { return last_ && time_ >= time; });
    }
    bool have(Seconds time) {
        const std::lock_guard lock(mutex_);
        return last_ && time_ >= time;
    }
    double first() {
        const std::lock_guard lock(mutex_);
        return first_.count();
    }
    double stalled() const { return stalled_.count(); }
    double longest() const { return longest_.count(); }

private:
    const Steady::time_point start_ = Steady::now();
    std::mutex mutex_;
    std::condition_variable changed_;
    std::optional<Steady::time_point> last_;
    Seconds time_{-1};
    Seconds first_{};
    Seconds stalled_{};
    Seconds longest_{};
};

class Player {
public:
    Player() = default;
    Player(const Player&) = delete;
    Player& operator=(const Player&) = delete;
    virtual ~Player() = default;
    /// Until the picture of `time`; false after `limit`.
    virtual bool play(const std::string& address, Seconds time, Seconds limit, Pictures& seen) = 0;
};

class RightKeys final : public AVAssetResourceLoaderDelegate {
public:
    bool shouldWaitForLoadingOfRequestedResource(
        AVAssetResourceLoader&, std::shared_ptr<AVAssetResourceLoadingRequest> request) override {
        const auto key = service::contentKey(request->request()->url.query()->substr(4));
        request->dataRequest()->respond(Data(key.begin(), key.end()));
        request->finishLoading();
        return true;
    }
};

class Ours final : public Player {
public:
    Ours() {
        device_.clock = std::make_shared<SystemClock>();
        device_.mainQueue = make<MainQueue>(device_.clock, MainQueue::Driver::manual);
        device_.mediaEngine = makeMediaEngineGStreamer({.audioSink = "fakesink"});
        if (!device_.mediaEngine) std::abort();
    }
    bool play(const std::string& address, Seconds time, Seconds limit, Pictures& seen) override {
        auto asset = std::make_shared<AVURLAsset>(*URL::parse(address));
        const auto keys = std::make_shared<RightKeys>();
        asset->resourceLoader()->setDelegate(keys, DispatchQueue::serial("keys"));
        const auto player = make<AVPlayer>(make<AVPlayerItem>(asset), device_);
        const auto owner = std::make_shared<int>();
        player->observeFrames(owner, [&] {
            if (const auto frame = player->newestFrame()) seen.came(frame->time);
        });
        player->play();
        return device_.mainQueue->runUntil(
            [&] { return seen.have(time); },
            std::chrono::duration_cast<std::chrono::nanoseconds>(limit));
    }

private:
    Device device_;
};

/// As its documentation says: paused while it tells of less than a hundred percent.
class Playbin3 final : public Player {
public:
    Playbin3() { gst_init(nullptr, nullptr); }
    bool play(const std::string& address, Seconds time, Seconds limit, Pictures& seen) override {
        GstElement* playbin = gst_element_factory_make("playbin3", nullptr);
        GstElement* video = gst_element_factory_make("appsink", nullptr);
        GstElement* audio = gst_element_factory_make("fakesink", nullptr);
        if (!playbin || !video || !audio) std::abort();
        GstCaps* caps = gst_caps_from_string("video/x-raw,format=I420");
        g_object_set(video, "caps", caps, "sync", TRUE, "qos", TRUE, "max-buffers", 2U, "drop",
                     TRUE, nullptr);
        g_object_set(audio, "sync", TRUE, nullptr);
        gst_caps_unref(caps);
        GstAppSinkCallbacks callbacks{};
        callbacks.new_preroll = [](GstAppSink* sink, gpointer given) {
            return tell(gst_app_sink_pull_preroll(sink), given);
        };
        callbacks.new_sample = [](GstAppSink* sink, gpointer given) {
            return tell(gst_app_sink_pull_sample(sink), given);
        };
        gst_app_sink_set_callbacks(GST_APP_SINK(video), &callbacks, &seen, nullptr);
        g_object_set(playbin, "uri", address.c_str(), "flags", 0x103, "video-sink", video,
                     "audio-sink", audio, nullptr);
        GstBus* bus = gst_element_get_bus(playbin);
        gst_bus_set_sync_handler(bus, buffering, playbin, nullptr);
        gst_element_set_state(playbin, GST_STATE_PLAYING);
        const bool came = seen.waitUntil(time, limit);
        gst_bus_set_sync_handler(bus, nullptr, nullptr, nullptr);
        gst_object_unref(bus);
        gst_element_set_state(playbin, GST_STATE_NULL);
        gst_object_unref(playbin);
        return came;
    }

private:
    static GstFlowReturn tell(GstSample* sample, gpointer given) {
        if (!sample) return GST_FLOW_OK;
        const GstClockTime time =
            gst_segment_to_stream_time(gst_sample_get_segment(sample), GST_FORMAT_TIME,
                                       GST_BUFFER_PTS(gst_sample_get_buffer(sample)));
        static_cast<Pictures*>(given)->came(std::chrono::nanoseconds(time));
        gst_sample_unref(sample);
        return GST_FLOW_OK;
    }
    static GstBusSyncReply buffering(GstBus*, GstMessage* message, gpointer given) {
        auto* playbin = GST_ELEMENT(given);
        if (GST_MESSAGE_TYPE(message) == GST_MESSAGE_BUFFERING) {
            gint percent = 0;
            gst_message_parse_buffering(message, &percent);
            gst_element_call_async(
                playbin,
                [](GstElement* element, gpointer state) {
                    gst_element_set_state(element, static_cast<GstState>(GPOINTER_TO_INT(state)));
                },
                GINT_TO_POINTER(percent < 100 ? GST_STATE_PAUSED : GST_STATE_PLAYING), nullptr);
        }
        gst_message_unref(message);
        return GST_BUS_DROP;
    }
};

/// A file's decoders and what sinks need, to their first samples, without any player: what these
/// leak every player does.
class Bare final : public Player {
public:
    Bare() { gst_init(nullptr, nullptr); }
    bool play(const std::string& address, Seconds, Seconds limit, Pictures& seen) override {
        const std::string launched =
            "filesrc location=" + address +
            " ! tsdemux name=d d. ! queue ! h264parse ! avdec_h264 ! videoconvert ! fakesink"
            " d. ! queue ! aacparse ! avdec_aac ! audioconvert ! scaletempo ! audioresample"
            " ! volume ! fakesink";
        GstElement* pipeline = gst_parse_launch(launched.c_str(), nullptr);
        if (!pipeline) return false;
        gst_element_set_state(pipeline, GST_STATE_PAUSED);
        const auto nanoseconds = std::chrono::duration_cast<std::chrono::nanoseconds>(limit);
        const bool came = gst_element_get_state(pipeline, nullptr, nullptr,
                                                static_cast<GstClockTime>(nanoseconds.count())) ==
                          GST_STATE_CHANGE_SUCCESS;
        if (came) seen.came(0s);
        gst_element_set_state(pipeline, GST_STATE_NULL);
        gst_object_unref(pipeline);
        return came;
    }
};

double status(const std::string& field) {
    std::ifstream file("/proc/self/status");
    for (std::string line; std::getline(file, line);) {
        if (line.starts_with(field + ":")) return std::stod(line.substr(field.size() + 1));
    }
    return 0;
}

/// What malloc gave out and did not get back; its free lists do not count.
double kibInUse() {
    const auto all = mallinfo2();
    return static_cast<double>(all.uordblks + all.hblkhd) / 1024;
}

double descriptors() {
    const std::filesystem::directory_iterator files("/proc/self/fd");
    return static_cast<double>(std::distance(begin(files), end(files)));
}

/// The line's answer; empty if nothing came of it.
std::string answer(Player& player, const std::string& line) {
    std::istringstream in(line);
    std::ostringstream out;
    std::string what;
    std::string address;
    double number = 0;
    in >> what >> address >> number;
    if (what == "grow") {
        const auto cycle = [&] {
            Pictures seen;
            player.play(address, 0s, 20s, seen);
        };
        // Each of malloc's arenas, of which there are eight a core, keeps what it once needed.
        for (int i = 0; i < 300; ++i) cycle();
        const double before[] = {status("VmRSS"), status("Threads"), descriptors(), kibInUse()};
        for (int i = 0; i < static_cast<int>(number); ++i) cycle();
        out << status("VmRSS") - before[0] << ' ' << status("Threads") - before[1] << ' '
            << descriptors() - before[2] << ' ' << kibInUse() - before[3];
        return out.str();
    }
    Pictures seen;
    if (!player.play(address, Seconds(number), Seconds(20 + 2 * number), seen)) return {};
    out << seen.first();
    if (what == "play")
        out << ' ' << seen.stalled() << ' ' << seen.longest() << ' ' << status("VmHWM");
    return out.str();
}

}  // namespace

int main(int count, char** arguments) {
    std::unique_ptr<Player> player;
    if (count == 2 && arguments[1] == std::string("ours")) player = std::make_unique<Ours>();
    if (count == 2 && arguments[1] == std::string("playbin3"))
        player = std::make_unique<Playbin3>();
    if (count == 2 && arguments[1] == std::string("bare")) player = std::make_unique<Bare>();
    if (!player) return 2;
    for (std::string line; std::getline(std::cin, line);)
        std::cout << answer(*player, line) << std::endl;
    return 0;
}
