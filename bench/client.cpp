// The client beside the facade, and both of them at the end of a line of 40 ms there and back. The
// service and the line are a process of their own, so that their processor time does not count.

#include "DelayingProxy.h"
#include "support/HTTP2Front.h"

#include <korvel/KorvelContentSDK.h>
#include <korvel/client/ContentClient.h>
#include <korvel/client/Playback.h>
#include <korvel/model/KCSDKUser.h>
#include <korvel/network/KCSDKNetworkManager.h>
#include <korvel/platform/backends/curl/URLSessionCurl.h>
#include <korvel/platform/backends/gstreamer/MediaEngineGStreamer.h>
#include <korvel/platform/foundation/SDKBundle.h>
#include <service/Catalogue.h>
#include <service/ServiceProcess.h>

#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/wait.h>

#include <algorithm>
#include <csignal>
#include <cstdio>
#include <filesystem>
#include <limits>
#include <semaphore>
#include <sstream>
#include <thread>
#include <vector>

namespace {

using namespace korvel;
using namespace korvel::platform;
using namespace std::chrono_literals;
using Seconds = std::chrono::duration<double>;
using Steady = std::chrono::steady_clock;

constexpr auto roundTrip = 40ms;
constexpr const char* classTag = "50102";  // a protected one
const service::ContentService::Options plain{.streams = KORVEL_STREAMS, .keptRequests = 0};
const service::ContentService::Options withoutTLS{.tls = false, .keptRequests = 0};

double median(std::vector<double> values) {
    std::sort(values.begin(), values.end());
    return values[values.size() / 2];
}

void report(const char* name, double value, double goal) {
    std::printf("%s %.3f %.3f %s\n", name, value, goal, value <= goal ? "ok" : "short");
    std::fflush(stdout);
}

double processorSeconds() {
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    const auto seconds = [](const timeval& time) {
        return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) * 1e-6;
    };
    return seconds(usage.ru_utime) + seconds(usage.ru_stime);
}

/// A member's service behind a line, at whose end the streams lie, too; says its address there.
std::string lineTo(service::ContentService& service) {
    service.accounts().logIn("anna");
    service.accounts().acceptConsent("anna", "privacy-2024");
    service.accounts().setSubscription("anna", service::Subscription{"now", "gold"});
    const bench::DelayingProxy line(service.port(), roundTrip);
    const auto far = "https://localhost:" + std::to_string(line.port()) + "/";
    const service::Catalogue catalogue(KORVEL_STREAMS "/../catalogue.json", far);
    service.script("/ondemand/v1/perform/", "GET",
                   {.body = *catalogue.performing(classTag),
                    .headers = {{"Content-Type", "application/json"}}},
                   std::numeric_limits<std::size_t>::max());
    return far;
}

std::shared_ptr<KCSDKConfig> configuration(const std::string& baseURL) {
    return std::make_shared<KCSDKConfig>(baseURL, plain.secretKey, plain.apiKey, plain.tenant, "a");
}

/// One after another, by each door in turn.
void compareDoors() {
    constexpr int requests = 300;
    constexpr int turns = 15;
    const auto manager = KCSDK::shared().networkManager();
    const ContentClient client;
    std::binary_semaphore answered{0};
    const auto cost = [](const auto& work) {
        const double before = processorSeconds();
        for (int left = requests; left > 0; --left) work();
        return (processorSeconds() - before) / requests;
    };
    std::vector<double> ratios;
    for (int turn = -1; turn < turns; ++turn) {
        const double facade = cost([&] {
            manager->getOndemandClasses(2, 5, {}, {}, [&](const auto& page, const auto&) {
                if (!page) std::abort();
                answered.release();
            });
            answered.acquire();
        });
        const double ours = cost([&] {
            if (!client.classes({.page = 2, .size = 5}).get()) std::abort();
        });
        if (turn >= 0) ratios.push_back(ours / facade);  // the first turn opens connections
    }
    report("client_cpu_vs_facade", median(ratios), 1.03);
}

/// Log-in, four reads at once, two more, with no connection open; without the half second that a
/// log-in waits before it goes out.
double appStart(const std::string& caFile, const std::string& baseURL) {
    auto device = Device::current();
    device.urlSession = makeURLSessionCurl({.certificateAuthorityFile = caFile}, [](auto task) {
        DispatchQueue::global().async(std::move(task));
    });
    const ContentClient client(device, configuration(baseURL));
    const auto start = Steady::now();
    if (!client.logIn("anna").get()) std::abort();
    auto consents = client.consents();
    auto collections = client.collections();
    auto metaData = client.metaData();
    auto page = client.classes({.page = 1, .size = 20});
    if (!std::move(consents).get() || !std::move(collections).get() || !std::move(metaData).get() ||
        !std::move(page).get()) {
        std::abort();
    }
    auto next = client.classes({.page = 2, .size = 20});
    auto details = client.classDetails(classTag);
    if (!std::move(next).get() || !std::move(details).get()) std::abort();
    return Seconds(Steady::now() - start - 500ms).count();
}

void reportAppStart(const char* name, double goal, const std::string& caFile,
                    const std::string& baseURL) {
    std::vector<double> starts;
    for (int turn = 0; turn < 5; ++turn) starts.push_back(appStart(caFile, baseURL) * 1000);
    report(name, median(starts), goal);
}

/// From the start of a protected class to its first picture, in round trips.
double firstPicture(const ContentClient& client, bool prefetch) {
    const auto details = client.classDetails(classTag).get();  // the host has just shown them
    if (!details) std::abort();
    PlayOptions options{.in = make<UIView>(CGRect{{0, 0}, {640, 360}})};
    options.prefetch = prefetch;
    const auto playback = client.play(*details, options).get();
    if (!playback) std::abort();
    const bool shown = Device::current().mainQueue->runUntil(
        [&] { return (*playback)->timeline().picture.has_value(); }, 20s);
    const auto steps = (*playback)->timeline();
    if (!shown) std::abort();
    const auto trips = [&](const Playback::Timeline::Moment& moment) {
        return moment ? Seconds(*moment - *steps.asked) / Seconds(roundTrip) : -1;
    };
    std::printf(
        "# performed %.1f playlist %.1f key asked %.1f token %.1f requested %.1f key %.1f "
        "segment %.1f picture %.1f\n",
        trips(steps.performed), trips(steps.playlist), trips(steps.keyAsked), trips(steps.token),
        trips(steps.keyRequested), trips(steps.key), trips(steps.segment), trips(steps.picture));
    (*playback)->stop();
    Device::current().mainQueue->runUntil(
        [&] { return (*playback)->status().recorded.has_value(); }, 20s);
    return trips(steps.picture);
}

}  // namespace

int main() {
    const service::ServiceProcess service(plain, lineTo);
    tests::HTTP2Front front;
    const service::ServiceProcess behindFront(withoutTLS, [&](service::ContentService&) {
        return "https://localhost:" +
               std::to_string(bench::DelayingProxy(front.port(), roundTrip).port()) + "/";
    });
    if (tests::HTTP2Front::isInstalled() && !front.start(behindFront.port())) std::abort();
    auto pattern = (std::filesystem::temp_directory_path() / "korvel-bench-XXXXXX").string();
    const std::filesystem::path data = mkdtemp(pattern.data());
    Device device;
    device.clock = std::make_shared<SystemClock>();
    device.mainQueue = make<MainQueue>(device.clock, MainQueue::Driver::manual);
    device.bundles.emplace_back(std::string(sdkBundleIdentifier), KORVEL_BUNDLE);
    const DeviceOptions options{.applicationName = "bench",
                                .dataFolder = data,
                                .certificateAuthorityFile = service.caFile(),
                                .console = [](std::string_view) {}};
    if (!installDeviceGStreamer(device, options, {.audioSink = "fakesink"})) std::abort();
    Device::current().mainQueue->drain();
    KCSDK::initialize(configuration(service.baseURL()));
    std::thread(compareDoors).join();  // of hosts' threads it is not the main one that waits

    reportAppStart("app_start_40ms_http1_ms", 430, service.caFile(), service.said());
    if (tests::HTTP2Front::isInstalled())
        reportAppStart("app_start_40ms_http2_ms", 300, front.caFile(), behindFront.said());

    const ContentClient client(configuration(service.said()));
    if (!client.logIn("anna").get()) std::abort();
    for (const bool prefetch : {false, true}) {
        std::vector<double> trips;
        for (int turn = 0; turn < 5; ++turn) trips.push_back(firstPicture(client, prefetch));
        report(prefetch ? "first_picture_prefetch_trips" : "first_picture_trips", median(trips),
               prefetch ? 6.5 : 9.5);
    }
    std::filesystem::remove_all(data);
    return 0;
}
