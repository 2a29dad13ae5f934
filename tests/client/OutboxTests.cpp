#include <korvel/doubles/FakeDevice.h>
#include "support/ChildProcess.h"
#include "support/RealService.h"
#include "support/Samples.h"
#include "support/TemporaryFolder.h"

#include <korvel/KorvelContentSDK.h>
#include <korvel/client/ContentClient.h>
#include <korvel/model/KCSDKUser.h>
#include <korvel/platform/backends/sqlite/SealedRecordsSQLite.h>

#include <gtest/gtest.h>

namespace korvel::tests {

using namespace doubles;
namespace {

using namespace std::chrono_literals;
using Kind = OutboxEvent::Kind;
using Reason = Failure::Reason;

constexpr const char* tracking = "/ondemand/v1/ondemandtracking";

/// A host whose pauses are counted by a clock that stands still.
struct Host {
    Host(const service::ContentService::Options& service, std::string baseURL,
         const std::string& authorities, std::shared_ptr<platform::SealedRecords> outbox)
        : config(makeConfig(service, std::move(baseURL))) {
        auto device = fake.device();
        if (outbox) device.outbox = std::move(outbox);
        device.urlSession = makeSession({.certificateAuthorityFile = authorities});
        setUp(device);
    }
    void setUp(const platform::Device& device) {
        ClientOptions options{.deadline = deadline, .readRetries = 0, .timers = timers};
        options.outboxObserver = [to = heard](const OutboxEvent& event) { to->add(event.kind); };
        client.emplace(device, config, std::move(options));
    }
    bool logIn(const std::string& name) {
        auto pending = client->logIn(name);
        fake.clock->advance(*fake.mainQueue, 500ms);
        return std::move(pending).get().hasValue();
    }
    auto record(std::int64_t seconds) {
        return client->recordPerformance(*decoded<KCSDKOndemandClass>(classJSON("50102")), seconds);
    }
    struct Events {
        std::mutex mutex;
        std::multiset<Kind> kinds;
        void add(Kind kind) {
            const std::lock_guard lock(mutex);
            kinds.insert(kind);
        }
        std::size_t count(Kind kind) {
            const std::lock_guard lock(mutex);
            return kinds.count(kind);
        }
    };
    /// So long that no test's own steps come near it.
    static constexpr auto deadline = 24h;

    FakeDevice fake;
    std::shared_ptr<platform::MainQueue> timers =
        platform::make<platform::MainQueue>(fake.clock, platform::MainQueue::Driver::manual);
    std::shared_ptr<KCSDKConfig> config;
    std::shared_ptr<Events> heard = std::make_shared<Events>();
    std::optional<ContentClient> client;
};

class OutboxTest : public testing::Test {
protected:
    service::ContentService service;
    TemporaryFolder folder;

    std::unique_ptr<Host> makeHost() const {
        return std::make_unique<Host>(service.options(), service.baseURL(), service.caFile(),
                                      platform::makeSealedRecordsSQLite(folder / "data"));
    }
    /// The seconds of each performance that the service has, in order.
    std::vector<int> delivered() {
        std::vector<int> seconds;
        for (const auto& each : service.accounts().performances()) {
            const auto at = each.json.find("actualDurationSecond");
            seconds.push_back(std::atoi(each.json.c_str() + at + 22));
        }
        return seconds;
    }
    std::size_t sent() const {
        std::size_t count = 0;
        for (const auto& each : service.requests()) count += each.target == tracking;
        return count;
    }
    static bool isEmpty(Host& host) {
        return eventually([&] { return host.client->waitingPerformances() == 0; });
    }
};

TEST_F(OutboxTest, WhateverBecomesOfTheRequestThePerformanceArrivesOnce) {
    enum class Sign { answer, pause, logIn, none };
    struct Row {
        service::Answer answer;
        Failure::Reason reason;
        Sign sign;
    };
    const std::vector<Row> rows{
        {{.resetAfter = 20}, Reason::unreachable, Sign::pause},
        {{.cutOffAfter = 0}, Reason::unreachable, Sign::logIn},
        {{.hold = true}, Reason::timedOut, Sign::answer},
        {{.status = 401, .body = ""}, Reason::loggedOut, Sign::logIn},
        {{.status = 408, .body = ""}, Reason::refused, Sign::pause},
        {{.status = 429, .body = ""}, Reason::refused, Sign::pause},
        {{.status = 503, .body = "\xff"}, Reason::refused, Sign::pause},
        {{.status = 601, .body = consentJSON("c")}, Reason::consentRequired, Sign::pause},
        {{.status = 400, .body = "never"}, Reason::refused, Sign::none},
    };
    const auto host = makeHost();
    ASSERT_TRUE(host->logIn("anna"));
    std::vector<int> expected;
    for (int number = 0; const auto& row : rows) {
        SCOPED_TRACE(number);
        service.script(tracking, "POST", row.answer);
        auto pending = host->record(number);
        if (row.answer.hold) {
            EXPECT_TRUE(service.waitForHeld(1));
            host->fake.clock->advance(*host->timers, Host::deadline);
        }
        const auto outcome = std::move(pending).get();
        ASSERT_FALSE(outcome);
        EXPECT_EQ(outcome.failure().reason, row.reason);
        EXPECT_EQ(outcome.failure().isKept, row.sign != Sign::none);
        if (row.sign != Sign::none) expected.push_back(number);
        if (row.sign == Sign::answer) std::ignore = host->client->consents().get();
        if (row.sign == Sign::logIn) host->logIn("anna");
        while (row.sign == Sign::pause && host->client->waitingPerformances() > 0) {
            host->fake.clock->advance(*host->timers, 100ms);
        }
        EXPECT_TRUE(isEmpty(*host));
        EXPECT_EQ(delivered(), expected);
        service.release();
        ++number;
    }
    EXPECT_TRUE(eventually([&] { return host->heard->count(Kind::refused) == 1; }));
    EXPECT_EQ(host->heard->count(Kind::accepted), expected.size());
    EXPECT_GE(host->heard->count(Kind::kept), expected.size());
}

TEST_F(OutboxTest, WhatWaitsGoesOldestFirstAndOnlyToItsOwnUser) {
    const auto host = makeHost();
    ASSERT_TRUE(host->logIn("anna"));
    for (int number = 1; number <= 3; ++number) {
        service.script(tracking, "POST", {.status = 401, .body = ""});
        EXPECT_FALSE(host->record(number).get());
    }
    EXPECT_EQ(host->client->waitingPerformances(), 3u);
    ASSERT_TRUE(host->logIn("bob"));
    EXPECT_EQ(host->client->waitingPerformances(), 0u) << "of his";
    EXPECT_TRUE(host->record(4).get());
    EXPECT_EQ(delivered(), std::vector<int>{4});

    // Two of them, as in two processes, at once.
    const auto other = makeHost();
    service.forgetRequests();
    ASSERT_TRUE(other->logIn("anna"));
    ASSERT_TRUE(host->logIn("anna"));
    EXPECT_TRUE(isEmpty(*host));
    EXPECT_EQ(sent(), 3u) << "none is sent by both";
    const auto all = delivered();
    EXPECT_EQ(std::multiset<int>(all.begin(), all.end()), (std::multiset<int>{1, 2, 3, 4}));
}

// ------------------------------------------------------------------------------------------
// a host that is killed

/// Ends the process, as a power cut would, when it comes to the step that it was told.
void reach(int step) {
    const char* last = std::getenv("KORVEL_LAST_STEP");  // NOLINT: nobody sets it here
    if (last && std::atoi(last) == step) kill(getpid(), SIGKILL);
}
constexpr int stepCount = 7;

struct Steps final : platform::SealedRecords, platform::URLSession {
    std::shared_ptr<platform::SealedRecords> records;
    std::shared_ptr<platform::URLSession> session;

    std::optional<Added> add(const platform::Data& value, Bounds bounds) override {
        auto added = records->add(value, bounds);
        reach(0);
        return added;
    }
    std::vector<Record> all() override { return records->all(); }
    Claim claim(Number number) override { return records->claim(number); }
    bool remove(Number number) override {
        reach(4);
        const bool removed = records->remove(number);
        reach(5);
        return removed;
    }
    std::shared_ptr<platform::URLSessionTask> dataTask(platform::URLRequest request,
                                                       CompletionHandler handler) override {
        const bool isRecord = request.url.absoluteString().ends_with(tracking);
        if (isRecord) reach(1);
        auto task = session->dataTask(std::move(request), [isRecord, handler](auto exchange) {
            if (isRecord) reach(3);
            handler(std::move(exchange));
        });
        if (isRecord) reach(2);
        return task;
    }
};

TEST_F(OutboxTest, AHostKilledAtAnyStepHasItsPerformanceDelivered) {
    std::vector<int> expected;
    for (int step = 0; step < stepCount; ++step) {
        SCOPED_TRACE(step);
        ChildProcess child([&] {
            setenv("KORVEL_LAST_STEP", std::to_string(step).c_str(), 1);
            setenv("KORVEL_SERVICE", service.baseURL().c_str(), 1);
            setenv("KORVEL_AUTHORITIES", service.caFile().c_str(), 1);
            setenv("KORVEL_DATA", (folder / "data").c_str(), 1);
            execl("/proc/self/exe", "client_tests", "--gtest_also_run_disabled_tests",
                  "--gtest_filter=*DISABLED_Host", "--gtest_brief=1", nullptr);
        });
        EXPECT_EQ(child.wait(), step == stepCount - 1);
        const auto next = makeHost();
        ASSERT_TRUE(next->logIn("anna"));
        EXPECT_TRUE(isEmpty(*next));
        expected.push_back(step);
        EXPECT_EQ(delivered(), expected);
    }
}

TEST(OutboxHost, DISABLED_Host) {
    const char* last = std::getenv("KORVEL_LAST_STEP");  // NOLINT: nobody sets it here
    ASSERT_NE(last, nullptr) << "another test's own host";
    const auto steps = std::make_shared<Steps>();
    steps->records = platform::makeSealedRecordsSQLite(std::getenv("KORVEL_DATA"));  // NOLINT
    Host host({}, std::getenv("KORVEL_SERVICE"), "", steps);                         // NOLINT
    auto device = host.fake.device();
    device.outbox = steps;
    steps->session =
        makeSession({.certificateAuthorityFile = std::getenv("KORVEL_AUTHORITIES")});  // NOLINT
    device.urlSession = steps;
    host.setUp(device);
    ASSERT_TRUE(host.logIn("anna"));
    EXPECT_TRUE(host.record(std::atoi(last)).get());
}

}  // namespace
}  // namespace korvel::tests
