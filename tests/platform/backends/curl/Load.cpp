// More requests than descriptors, connections nobody needs any more, and ends in the middle of it.

#include "Client.h"
#include "RawServer.h"
#include "support/ChildProcess.h"

#include <service/ServiceProcess.h>

#include <fcntl.h>
#include <sys/resource.h>
#include <cstdlib>
#include <filesystem>
#include <latch>

namespace korvel::platform {
namespace {

std::size_t openDescriptors() {
    const std::filesystem::directory_iterator files("/proc/self/fd");
    return static_cast<std::size_t>(std::distance(begin(files), end(files)));
}

TEST(URLSessionLoadTest, ThousandsOfRequestsTakeTurnsAndAHungServiceHoldsUpNoOther) {
    // It takes a descriptor for each connection, too.
    const service::ServiceProcess other({.tls = false}, [](ContentService& service) {
        service.script("", "", {.status = 601, .body = "ok"}, 2000);
        return std::string();
    });
    const auto& url = other.baseURL();
    rlimit before{};
    getrlimit(RLIMIT_NOFILE, &before);
    rlimit few = before;
    few.rlim_cur = 1024;
    setrlimit(RLIMIT_NOFILE, &few);
    const RawServer hung([](const auto& connection) {
        while (!connection.readHead().empty()) continue;
    });
    auto session = makeSession({});

    constexpr std::size_t count = 2000;
    for (std::size_t number = 0; number < 200; ++number) {
        session->dataTask(URLRequest(*URL::parse(hung.url())), [](const Exchange&) {});
    }
    std::latch all(count);
    std::atomic<std::size_t> failed = 0;
    for (std::size_t number = 0; number < count; ++number) {
        session->dataTask(URLRequest(*URL::parse(url)), [&](const Exchange& exchange) {
            failed += !exchange.response || exchange.response->statusCode != 601;
            all.count_down();
        });
    }
    all.wait();
    EXPECT_EQ(failed, 0u);
    EXPECT_LE(hung.accepted(), 128u);
    session.reset();
    setrlimit(RLIMIT_NOFILE, &before);
}

TEST_F(URLSessionTest, AWaitingRequestDoesNotTimeOutBeforeItsTurn) {
    constexpr std::size_t turns = 128;
    service.script("/x", "", {.status = 200, .hold = true}, turns);
    service.script("/x", "", {.status = 200});
    std::vector<std::future<Exchange>> held;
    for (std::size_t number = 0; number < turns; ++number)
        held.push_back(start(*session, request()));
    ASSERT_TRUE(service.waitForHeld(turns));
    auto impatient = request();
    impatient.timeoutInterval = 200ms;
    auto last = start(*session, impatient);
    EXPECT_EQ(last.wait_for(600ms), std::future_status::timeout);
    service.release();
    for (auto& each : held) EXPECT_EQ(statusOf(wait(std::move(each))), 200);
    EXPECT_EQ(statusOf(wait(std::move(last))), 200);
}

TEST_F(URLSessionTest, NoConnectionStaysThatNobodyUses) {
    service.script("/x", "", {.status = 200, .body = "ok"}, 100);
    const auto before = openDescriptors();
    for (const bool first : {true, false}) {  // the log-in's connection serves the catalogue
        const auto metrics = send(first ? request("POST", "first") : request()).metrics;
        EXPECT_EQ(metrics.reusedConnection, !first);
        EXPECT_EQ(metrics.bytesReceived, 2);
        EXPECT_EQ(metrics.connect.count() > 0, first);
        EXPECT_LE(metrics.connect, metrics.tls);
        EXPECT_LE(metrics.tls, metrics.firstByte);
        EXPECT_LE(metrics.firstByte, metrics.end);
    }
    EXPECT_EQ(service.counters().connections, 1u);
    for (int number = 0; number < 20; ++number) send(request("POST", "{}"));
    // This process is the service, too: two for each connection.
    EXPECT_TRUE(tests::eventually([&] { return openDescriptors() <= before + 6; }))
        << openDescriptors() << " after " << before;

    auto options = trusting(service);
    options.idleConnections = 50ms;
    session = makeSession(options);
    const auto closed = openDescriptors();
    for (int round = 0; round < 2; ++round) {
        std::vector<std::future<Exchange>> some;
        for (int number = 0; number < 20; ++number) some.push_back(start(*session, request()));
        for (auto& each : some) EXPECT_EQ(statusOf(wait(std::move(each))), 200);
        EXPECT_TRUE(tests::eventually([&] { return openDescriptors() <= closed; }));
    }
}

TEST_F(URLSessionTest, WithoutDescriptorsARequestFailsAndTheNextOneMayNot) {
    service.script("/x", "", {.status = 200, .body = "ok"}, 3);
    send(request());  // the pool's threads and the service are there
    session = makeSession(trusting(service));
    std::vector<int> taken;
    for (int file = 0; (file = open("/dev/null", O_RDONLY | O_CLOEXEC)) >= 0;)
        taken.push_back(file);
    EXPECT_NE(errorOf(send(request())), 0);
    for (const int file : taken) close(file);
    EXPECT_EQ(statusOf(send(request())), 200);
}

TEST_F(URLSessionTest, AForkedChildMayExit) {
    if (tests::sanitized) GTEST_SKIP() << "which look for the parent's threads in the child";
    service.script("/x", "", {.status = 200, .hold = true}, 1);
    static auto busy = makeSession(trusting(service));
    static auto idle = makeSession(trusting(service));
    auto held = start(*busy, request());
    ASSERT_TRUE(service.waitForHeld(1));
    {
        tests::ChildProcess child([] {
            alarm(20);  // one that hangs
            std::exit(0);
        });
        EXPECT_TRUE(child.wait());
    }
    service.release();
    EXPECT_EQ(statusOf(wait(std::move(held))), 200) << "the parent's connection is its own";
    busy.reset();
    idle.reset();
}

TEST(URLSessionExitTest, HandshakesUnderWayDoNotHoldUpTheEnd) {
    const auto end = tests::shared<std::atomic<std::int64_t>>();
    const auto now = [] { return std::chrono::steady_clock::now().time_since_epoch() / 1us; };
    const auto endAmidHandshakes = [&] {
        const service::ServiceProcess service;
        static const auto session = makeSession({});
        for (int number = 0; number < 2000; ++number) {
            const std::string host = number % 2 == 0 ? "127.0.0.1:" : "localhost:";
            session->dataTask(
                URLRequest(*URL::parse("https://" + host + std::to_string(service.port()))),
                [](const Exchange&) {});
        }
        std::this_thread::sleep_for(30ms);  // the first handshakes are under way
        *end = now();
        std::exit(7);
    };
    EXPECT_EXIT(endAmidHandshakes(), testing::ExitedWithCode(7), "");
    if (tests::sanitized) GTEST_SKIP() << "sanitizers take their time to look at what was left";
    EXPECT_LT(now() - *end, 1'000'000) << "us, on a busy machine";
}

}  // namespace
}  // namespace korvel::platform
