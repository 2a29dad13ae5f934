// Many requests at once, completions that block, and the end of sessions.

#include "Client.h"

#include <latch>
#include <semaphore>

namespace korvel::platform {
namespace {

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

TEST_F(URLSessionTest, ACompletionMayWaitForARequestOfItsOwnWhileOthersAreUnderWay) {
    service.script("/held", "", {.hold = true});
    service.script("/x", "", {.status = 200, .body = "ok"}, 2);
    auto held = request();
    held.url = *URL::parse(service.baseURL() + "held");
    const auto other = ask(*session, held, false);
    ASSERT_TRUE(service.waitForHeld(1));
    std::promise<std::string> outer;
    session->dataTask(request(), [&](const Exchange&) {
        std::promise<std::string> inner;
        session->dataTask(request(),
                          [&](const Exchange& exchange) { inner.set_value(bodyOf(exchange)); });
        outer.set_value(wait(inner.get_future()));
    });
    EXPECT_EQ(wait(outer.get_future()), "ok");
    other.task->cancel();
    service.release();
}

TEST_F(URLSessionTest, ACancelledRequestEndsUncalledWhereverItStands) {
    constexpr std::size_t turns = 128;
    service.script("/x", "", {.hold = true}, turns);
    std::vector<Asked> all;
    for (std::size_t number = 0; number < turns + 2; ++number) {  // two have to wait
        all.push_back(ask(*session, request(), false));
    }
    ASSERT_TRUE(service.waitForHeld(turns));
    for (const std::size_t number : {turns + 1, turns, std::size_t{5}, std::size_t{5}}) {
        all[number].task->cancel();
        EXPECT_TRUE(all[number].isOver());
    }
    // Its turn is somebody else's now, and a late cancel is none.
    service.script("/x", "", {.status = 200, .body = "ok"}, 2);
    std::promise<std::string> answer;
    const auto answered = session->dataTask(
        request(), [&](const Exchange& exchange) { answer.set_value(bodyOf(exchange)); });
    EXPECT_EQ(wait(answer.get_future()), "ok");
    answered->cancel();
    for (const auto& each : all) each.task->cancel();
    for (const auto& each : all) EXPECT_TRUE(each.isOver());
    EXPECT_EQ(bodyOf(send(request())), "ok");
    session.reset();
    answered->cancel();
    service.release();
}

TEST_F(URLSessionTest, ACancelMayMeetTheAnswer) {
    service.script("/x", "", {.status = 200, .body = "ok"}, 400);
    for (int round = 0; round < 400; ++round) {
        const auto asked = ask(*session, request());
        std::this_thread::sleep_for(std::chrono::microseconds(round));
        asked.task->cancel();
        EXPECT_TRUE(asked.isOver());
    }
}

TEST_F(URLSessionTest, ASessionEndsAtOnceAndItsHandlersUncalled) {
    for (const bool onACompletionsThread : {false, true}) {
        service.script("/held", "", {.hold = true}, 8);
        service.script("/x", "", {.status = 200, .body = "ok"});
        auto held = request();
        held.url = *URL::parse(service.baseURL() + "held");
        std::vector<Asked> all;
        for (int number = 0; number < 8; ++number) all.push_back(ask(*session, held, false));
        ASSERT_TRUE(service.waitForHeld(8));
        if (onACompletionsThread) {
            std::binary_semaphore isGone{0};
            session->dataTask(request(), [&](const Exchange&) {
                session.reset();
                isGone.release();
            });
            isGone.acquire();
        } else {
            session.reset();
        }
        for (const auto& each : all) EXPECT_TRUE(each.isOver());
        service.release();
        session = makeSession(trusting(service));
    }
    for (int round = 0; round < 50; ++round) {  // destroyed as it starts
        EXPECT_TRUE(ask(*makeSession(trusting(service)), request()).isOver());
    }
}

}  // namespace
}  // namespace korvel::platform
