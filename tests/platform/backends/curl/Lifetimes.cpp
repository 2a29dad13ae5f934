// Many requests at once, completions that block, and the end of sessions.

#include "Client.h"

#include <netinet/in.h>
#include <sys/socket.h>

#include <array>
#include <cstdlib>
#include <latch>

namespace korvel::platform {
namespace {

/// Tells when the last copy of what it gave out is destroyed.
class Witness {
public:
    std::shared_ptr<void> token() { return std::exchange(token_, nullptr); }
    bool released() { return gone_.wait_for(20s) == std::future_status::ready; }

private:
    std::promise<void> promise_;
    std::future<void> gone_ = promise_.get_future();
    std::shared_ptr<void> token_{nullptr, [this](void*) { promise_.set_value(); }};
};

TEST_F(URLSessionTest, ConnectionsAreReusedOneAfterAnother) {
    service.script("/x", "", {.status = 200, .body = "ok"}, 10);
    for (int number = 0; number < 10; ++number) {
        const auto exchange = send(request());
        const auto& metrics = exchange.metrics;
        EXPECT_EQ(bodyOf(exchange), "ok");
        EXPECT_EQ(metrics.reusedConnection, number > 0);
        EXPECT_EQ(metrics.bytesReceived, 2);
        EXPECT_EQ(metrics.connect.count() > 0, number == 0);
        EXPECT_LE(metrics.connect, metrics.tls);
        EXPECT_LE(metrics.tls, metrics.firstByte);
        EXPECT_LE(metrics.firstByte, metrics.end);
    }
    EXPECT_EQ(service.counters().connections, 1u);
}

TEST_F(URLSessionTest, NoRequestWaitsForTheCompletionOfAnother) {
    constexpr std::size_t count = 64;
    service.script("/x", "", {.status = 200, .body = "ok", .hold = true}, count);
    std::latch allAreHere(count);
    std::vector<std::future<bool>> met;
    for (std::size_t number = 0; number < count; ++number) {
        auto promise = std::make_shared<std::promise<bool>>();
        met.push_back(promise->get_future());
        session->dataTask(request(), [&, promise](const Exchange& exchange) {
            allAreHere.arrive_and_wait();
            promise->set_value(exchange.response.has_value());
        });
    }
    ASSERT_TRUE(service.waitForHeld(count)) << "all are on their way at once";
    service.release();
    for (auto& each : met) EXPECT_TRUE(wait(std::move(each)));
}

TEST_F(URLSessionTest, ACompletionMayWaitForARequestOfItsOwn) {
    service.script("/x", "", {.status = 200, .body = "ok"}, 2);
    std::promise<std::string> inner;
    session->dataTask(request(), [&](const Exchange&) {
        inner.set_value(bodyOf(wait(start(*session, request()))));
    });
    EXPECT_EQ(wait(inner.get_future()), "ok");
}

TEST_F(URLSessionTest, ACancelledRequestEndsUncalledWhereverItStands) {
    constexpr std::size_t turns = 128;
    service.script("/x", "", {.hold = true}, turns);
    std::vector<std::unique_ptr<Witness>> witnesses;
    std::vector<std::shared_ptr<URLSessionTask>> tasks;
    for (std::size_t number = 0; number < turns + 2; ++number) {  // two have to wait
        auto& witness = witnesses.emplace_back(std::make_unique<Witness>());
        tasks.push_back(session->dataTask(
            request(), [token = witness->token()](const Exchange&) { ADD_FAILURE() << "called"; }));
    }
    ASSERT_TRUE(service.waitForHeld(turns));
    for (const std::size_t number : {turns + 1, turns, std::size_t{5}, std::size_t{5}}) {
        tasks[number]->cancel();
        EXPECT_TRUE(witnesses[number]->released());
    }
    // Its turn is somebody else's now, and a late cancel is none.
    service.script("/x", "", {.status = 200, .body = "ok"}, 2);
    std::promise<std::string> answer;
    const auto answered = session->dataTask(
        request(), [&](const Exchange& exchange) { answer.set_value(bodyOf(exchange)); });
    EXPECT_EQ(wait(answer.get_future()), "ok");
    answered->cancel();
    for (const auto& task : tasks) task->cancel();
    for (const auto& witness : witnesses) EXPECT_TRUE(witness->released());
    EXPECT_EQ(bodyOf(send(request())), "ok");
    session.reset();
    answered->cancel();
    service.release();
}

TEST_F(URLSessionTest, ACancelMayMeetTheAnswer) {
    service.script("/x", "", {.status = 200, .body = "ok"}, 400);
    for (int round = 0; round < 400; ++round) {
        Witness witness;
        const auto task =
            session->dataTask(request(), [token = witness.token()](const Exchange&) {});
        std::this_thread::sleep_for(std::chrono::microseconds(round));
        task->cancel();
        EXPECT_TRUE(witness.released());
    }
}

TEST_F(URLSessionTest, ASessionEndsAtOnceAndItsHandlersUncalled) {
    for (const bool onACompletionsThread : {false, true}) {
        service.script("/held", "", {.hold = true}, 8);
        service.script("/x", "", {.status = 200, .body = "ok"});
        auto held = request();
        held.url = *URL::parse(service.baseURL() + "held");
        std::array<Witness, 8> witnesses;
        for (auto& witness : witnesses) {
            session->dataTask(
                held, [token = witness.token()](const Exchange&) { ADD_FAILURE() << "called"; });
        }
        ASSERT_TRUE(service.waitForHeld(8));
        if (onACompletionsThread) {
            session->dataTask(request(), [&](const Exchange&) { session.reset(); });
        } else {
            session.reset();
        }
        for (auto& witness : witnesses) EXPECT_TRUE(witness.released());
        service.release();
        session = makeSession(trusting(service));
    }
    for (int round = 0; round < 50; ++round) {  // destroyed as it starts
        Witness witness;
        makeSession(trusting(service))
            ->dataTask(request(), [token = witness.token()](const Exchange&) {});
        EXPECT_TRUE(witness.released());
    }
}

TEST(URLSessionExitTest, TheProcessMayEndWithRequestsOnTheirWay) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    const auto endAmidRequests = [] {
        // A service that has no thread which could be in the way: it listens and never answers.
        const int service = socket(AF_INET, SOCK_STREAM, 0);
        sockaddr_in place{};
        place.sin_family = AF_INET;
        place.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        socklen_t size = sizeof place;
        auto* const where = reinterpret_cast<sockaddr*>(&place);
        if (bind(service, where, size) || listen(service, 2) || getsockname(service, where, &size))
            std::abort();
        const auto address = "https://127.0.0.1:" + std::to_string(ntohs(place.sin_port)) + "/";
        static auto* const leaked = new std::shared_ptr<URLSession>(makeSession({}));
        static const auto owned = makeSession({});
        for (URLSession* session : {leaked->get(), owned.get()}) {
            session->dataTask(URLRequest(*URL::parse(address)),
                              [](const Exchange&) { std::abort(); });
        }
        for (char byte = 0, client = 0; client < 2; ++client) {
            recv(accept(service, nullptr, nullptr), &byte, 1, 0);  // it has begun to speak
        }
        std::exit(7);
    };
    EXPECT_EXIT(endAmidRequests(), testing::ExitedWithCode(7), "");
}

}  // namespace
}  // namespace korvel::platform
