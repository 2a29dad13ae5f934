#include "support/ChildProcess.h"
#include "support/RealService.h"
#include "support/TemporaryFolder.h"

#include <korvel/KorvelContentSDK.h>
#include <service/ServiceProcess.h>

#include <gtest/gtest.h>

#include <cstdlib>
#include <random>
#include <thread>

namespace korvel::tests {
namespace {

struct Silent final : platform::Console {
    void print(std::string_view) override {}
};

/// What a host does, up to an end that comes whenever it comes.
[[noreturn]] void runAndExit(const service::ServiceProcess& service,
                             const std::filesystem::path& data, std::chrono::microseconds moment) {
    alarm(30);  // ends one that hangs
    platform::DeviceOptions options;
    options.certificateAuthorityFile = service.caFile();
    options.dataFolder = data;
    platform::Device device;
    device.console = std::make_shared<Silent>();
    if (!platform::Device::install(device, options)) std::abort();
    KCSDK::initialize(makeConfig({}, service.baseURL()));
    KCSDK::startSession("anna", nullptr);
    for (int request = 0; request < 4; ++request) {
        KCSDK::getOndemandCollections({}, 1, nullptr);
        KCSDK::getOndemandClasses(1, 5, {}, {}, [](auto, auto) { KCSDK::getConsent(nullptr); });
    }
    std::this_thread::sleep_for(moment);
    std::exit(0);
}

// KORVEL_EXIT_RUNS=10000 makes sure of it.
TEST(Exit, MayComeAtAnyMoment) {
    const service::ServiceProcess service({.keptRequests = 0});
    const TemporaryFolder folder;
    const char* wanted = std::getenv("KORVEL_EXIT_RUNS");  // NOLINT: no other thread
    const int runs = wanted ? std::atoi(wanted) : sanitized ? 10 : 40;
    std::mt19937 random(20240607);
    std::uniform_int_distribution<int> upTo(0, 25'000);
    for (int run = 0; run < runs; ++run) {
        const std::chrono::microseconds moment(upTo(random));
        ChildProcess host([&] { runAndExit(service, folder / "data", moment); });
        ASSERT_TRUE(host.wait()) << "run " << run << ", after " << moment.count() << " us";
    }
}

}  // namespace
}  // namespace korvel::tests
