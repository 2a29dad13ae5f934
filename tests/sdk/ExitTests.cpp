#include "support/ChildProcess.h"
#include "support/TemporaryFolder.h"

#include <korvel/KorvelContentSDK.h>
#include <service/ContentService.h>

#include <gtest/gtest.h>

#include <array>
#include <cstdlib>
#include <random>

namespace korvel::tests {
namespace {

struct Silent final : platform::Console {
    void print(std::string_view) override {}
};

/// What a host does, up to an end that comes whenever it comes.
[[noreturn]] void runAndExit(const std::string& baseURL, const std::string& authority,
                             const std::filesystem::path& data, std::chrono::microseconds moment) {
    alarm(30);  // ends one that hangs
    platform::DeviceOptions options;
    options.certificateAuthorityFile = authority;
    options.dataFolder = data;
    platform::Device device;
    device.console = std::make_shared<Silent>();
    if (!platform::Device::install(device, options)) std::abort();
    const service::ContentService::Options known;
    KCSDK::initialize(std::make_shared<KCSDKConfig>(baseURL, known.secretKey, known.apiKey,
                                                    known.tenant, "analytics"));
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
    std::array<int, 2> pipe{};
    ASSERT_EQ(::pipe(pipe.data()), 0);
    const ChildProcess process([&] {
        const service::ContentService service({.keptRequests = 0});
        const std::string text = service.baseURL() + " " + service.caFile().string();
        if (write(pipe[1], text.data(), text.size()) > 0) pause();
    });
    char text[1024];
    const auto size = read(pipe[0], text, sizeof text);
    ASSERT_GT(size, 0);
    const std::string line(text, static_cast<std::size_t>(size));
    const auto blank = line.find(' ');

    const TemporaryFolder folder;
    const char* wanted = std::getenv("KORVEL_EXIT_RUNS");  // NOLINT: no other thread
    const int runs = wanted ? std::atoi(wanted) : 40;
    std::mt19937 random(20240607);
    std::uniform_int_distribution<int> upTo(0, 25'000);
    for (int run = 0; run < runs; ++run) {
        const std::chrono::microseconds moment(upTo(random));
        ChildProcess host([&] {
            runAndExit(line.substr(0, blank), line.substr(blank + 1), folder / "data", moment);
        });
        ASSERT_TRUE(host.wait()) << "run " << run << ", after " << moment.count() << " us";
    }
}

}  // namespace
}  // namespace korvel::tests
