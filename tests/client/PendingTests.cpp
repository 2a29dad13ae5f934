#include <korvel/doubles/FakeDevice.h>
#include "support/Samples.h"

#include <korvel/KorvelContentSDK.h>
#include <korvel/client/ContentClient.h>
#include <korvel/model/KCSDKUser.h>

#include <gtest/gtest.h>

#include <random>
#include <thread>

namespace korvel::tests {

using namespace doubles;
namespace {

using namespace std::chrono_literals;
using Reason = Failure::Reason;
using Page = std::shared_ptr<KCSDKOndemandClassResponse>;

const std::string emptyPage = pageJSON("");
const std::string anna = R"({"Username":"anna","UserId":"1","Code":"c1"})";

/// A coroutine that begins at once and keeps what it is until it is destroyed.
struct Task {
    struct promise_type {
        Task get_return_object() {
            return {std::coroutine_handle<promise_type>::from_promise(*this)};
        }
        std::suspend_never initial_suspend() { return {}; }
        std::suspend_always final_suspend() noexcept { return {}; }
        void return_void() {}
        void unhandled_exception() { std::terminate(); }
    };
    std::coroutine_handle<promise_type> handle;
};

class PendingTest : public testing::Test {
protected:
    FakeDevice fake;
    std::shared_ptr<platform::MainQueue> timers =
        platform::make<platform::MainQueue>(fake.clock, platform::MainQueue::Driver::manual);
    std::shared_ptr<platform::MainQueue> queue =
        platform::make<platform::MainQueue>(fake.clock, platform::MainQueue::Driver::manual);
    const std::shared_ptr<KCSDKConfig> config =
        std::make_shared<KCSDKConfig>("https://service.test/", "secret", "key", "tenant", "a");
    ContentClient client{fake.device(), config, {.deadline = 30s, .timers = timers}};

    std::vector<std::string> ends;  ///< of `hear`, in order
    template <class T> void hear(Pending<T> pending) {
        std::move(pending).then(queue, [this](const Outcome<T>& outcome) {
            ends.push_back(outcome ? "value" : std::string(nameOf(outcome.failure().reason)));
        });
    }
    using Ends = std::vector<std::string>;
    Ends heard() {
        fake.clock->settle(*queue);
        return std::exchange(ends, {});
    }
    Task await(std::string& told) {
        const auto outcome = co_await client.classes().on(queue);
        told = outcome ? "value" : std::string(nameOf(outcome.failure().reason));
    }
};

TEST_F(PendingTest, ReadsAreRepeatedAfterGrowingPausesWhileTheFailurePasses) {
    hear(client.classes());
    fake.session->failTransport();
    fake.clock->advance(*timers, 249ms);
    EXPECT_EQ(fake.session->requests.size(), 1u);
    fake.clock->advance(*timers, 1ms);
    fake.session->answer(503, "busy");
    fake.clock->advance(*timers, 500ms);
    fake.session->answer(200, emptyPage);
    EXPECT_EQ(heard(), Ends{"value"});
    EXPECT_EQ(fake.session->requests.size(), 3u);
    EXPECT_EQ(fake.events().size(), 1u) << "one listing, however often it was asked for";

    hear(client.classes());
    for (const auto pause : {250ms, 500ms, 1000ms, 0ms}) {
        fake.session->failTransport();
        fake.clock->advance(*timers, pause);
    }
    EXPECT_EQ(heard(), Ends{"unreachable"});
    EXPECT_EQ(fake.session->pending(), 0u);
}

TEST_F(PendingTest, NothingElseIsRepeated) {
    hear(client.acceptConsent("c"));
    fake.session->failTransport();
    hear(client.search({}));
    fake.session->answer(503, "");
    hear(client.classes());
    fake.session->answer(500, "");
    hear(client.classes());
    fake.clock->advance(*timers, 29900ms);
    fake.session->failTransport();  // a pause would end after the deadline
    fake.clock->advance(*timers, 1min);
    EXPECT_EQ(heard(), (Ends{"unreachable", "refused", "refused", "unreachable"}));
    EXPECT_EQ(fake.session->requests.size(), 4u);
}

TEST_F(PendingTest, TheDeadlineEndsATransferAndWhatWasNotSentYet) {
    hear(client.classes());
    hear(client.logIn("anna"));  // the main queue stands still
    fake.clock->advance(*timers, 30s - 1ns);
    EXPECT_EQ(heard(), Ends{});
    fake.clock->advance(*timers, 1ns);
    EXPECT_EQ(heard(), (Ends{"timedOut", "timedOut"}));
    EXPECT_EQ(fake.session->cancelled, 1u);
    fake.clock->advance(*fake.mainQueue, 1s);
    EXPECT_EQ(fake.session->requests.size(), 1u) << "the log-in is not sent any more";
}

TEST_F(PendingTest, CancellingEndsTheTransferOnceAndForAll) {
    std::stop_source stop;
    hear(client.classes().stoppedBy(stop.get_token()));
    stop.request_stop();
    hear(client.classes().stoppedBy(stop.get_token()));
    EXPECT_EQ(heard(), (Ends{"cancelled", "cancelled"}));
    EXPECT_EQ(fake.session->cancelled, 2u);

    auto pending = client.classes();
    fake.session->answer(200, emptyPage);
    pending.cancel();
    EXPECT_TRUE(std::move(pending).get()) << "what has come stays";
    fake.clock->advance(*timers, 1min);
    EXPECT_EQ(heard(), Ends{});
}

/// The first exchange ends, and what follows from that happens, before its task is handed over.
struct HastySession final : platform::URLSession {
    std::shared_ptr<platform::URLSession> session;
    std::function<void()> follows;
    std::shared_ptr<platform::URLSessionTask> dataTask(platform::URLRequest request,
                                                       CompletionHandler handler) override {
        auto task = session->dataTask(std::move(request), std::move(handler));
        if (const auto once = std::exchange(follows, nullptr)) once();
        return task;
    }
};

TEST_F(PendingTest, CancellingEndsTheLastAttemptHoweverLateTheFormerOnesTaskCame) {
    const auto hasty = std::make_shared<HastySession>();
    hasty->session = fake.session;
    hasty->follows = [this] {
        fake.session->failTransport();
        fake.clock->advance(*timers, 250ms);
    };
    auto device = fake.device();
    device.urlSession = hasty;
    const ContentClient impatient(device, config, {.timers = timers});
    auto pending = impatient.classes();
    ASSERT_EQ(fake.session->requests.size(), 2u);
    pending.cancel();
    EXPECT_EQ(fake.session->pending(), 0u);
    EXPECT_EQ(fake.session->cancelled, 1u);
}

TEST_F(PendingTest, WhatIsDroppedGoesOnUnheardAndOutlivesTheClient) {
    { auto dropped = client.acceptConsent("c"); }
    EXPECT_EQ(fake.session->pending(), 1u);
    fake.session->answer(200, "");
    EXPECT_EQ(fake.session->cancelled, 0u);

    auto device = fake.device();
    device.urlSession = std::make_shared<FakeURLSession>();
    fake.session = nullptr;
    std::optional<ContentClient> last(std::in_place, device, config,
                                      ClientOptions{.timers = timers});
    device.urlSession = nullptr;
    hear(last->consents());
    last.reset();  // the operation keeps what it needs
    EXPECT_EQ(heard(), Ends{});
    fake.clock->advance(*timers, 30s);
    EXPECT_EQ(heard(), Ends{"timedOut"});
}

TEST_F(PendingTest, GetOnTheMainThreadDrivesTheMainQueue) {
    fake.mainQueue->drain();  // which makes this the main thread
    fake.mainQueue->async([this] { fake.session->answer(200, emptyPage); });
    auto pending = client.classes();
    EXPECT_EQ(std::move(pending).get()->totalItems, 7);
}

TEST_F(PendingTest, GetOnAnotherThreadWaitsForTheEndOrItsOwnDeadline) {
    std::thread other(
        [this] { EXPECT_EQ(client.classes().get(5s).failure().reason, Reason::timedOut); });
    ASSERT_TRUE(fake.session->waitForRequests(1));
    // Its deadline comes before the operation's own, which is there earlier.
    const auto deadline = fake.clock->now() + 5s;
    const auto isArmed = [&] {
        const auto next = timers->drain();
        return next && *next <= deadline;
    };
    while (!isArmed()) std::this_thread::yield();
    fake.clock->advance(*timers, 5s);
    other.join();
    EXPECT_EQ(fake.session->cancelled, 1);
}

TEST_F(PendingTest, ACoroutineResumesOnItsQueueUnlessItIsGone) {
    std::string told;
    auto first = await(told);
    fake.session->answer(200, emptyPage);
    EXPECT_EQ(told, "");
    fake.clock->settle(*queue);
    EXPECT_EQ(told, "value");
    first.handle.destroy();

    told.clear();
    auto early = await(told);
    early.handle.destroy();
    auto late = await(told);
    fake.session->answer(200, emptyPage);
    fake.session->answer(200, emptyPage);
    late.handle.destroy();  // its resumption waits in the queue
    fake.clock->settle(*queue);
    EXPECT_EQ(told, "");
}

TEST_F(PendingTest, ClientsHaveLogInsOfTheirOwn) {
    const ContentClient other(fake.device(), config, {.timers = timers});
    hear(client.logIn("anna"));
    fake.clock->advance(*fake.mainQueue, 500ms);
    fake.session->answer(200, anna);
    EXPECT_EQ(heard(), Ends{"value"});
    hear(client.metaData());
    EXPECT_EQ(fake.session->requests.back().value("Authorization"), "Bearer c1");
    hear(other.metaData());
    EXPECT_EQ(fake.session->requests.back().value("Authorization"), std::nullopt);
    EXPECT_TRUE(fake.keychain->items().empty());
    fake.session->answer(500, "");  // what is never answered would keep its session
    fake.session->answer(500, "");
}

TEST_F(PendingTest, WithoutAConfigurationItIsThatOfTheFacade) {
    ASSERT_TRUE(platform::Device::install(fake.device()));
    const ContentClient shared({.timers = timers});
    hear(shared.classes());
    EXPECT_EQ(heard(), Ends{"notInitialised"});
    KCSDK::initialize(config);
    hear(shared.classes());
    fake.session->answer(200, emptyPage);
    config->baseURL = "nowhere";
    hear(shared.classes());
    EXPECT_EQ(heard(), (Ends{"value", "unusableBaseURL"}));
}

/// Answers from the pool, or never, or lets go of the question.
struct UnsteadySession final : platform::URLSession {
    struct Task final : platform::URLSessionTask {
        std::shared_ptr<std::atomic<bool>> ended = std::make_shared<std::atomic<bool>>();
        void cancel() override { *ended = true; }
    };
    std::atomic<unsigned> count = 0;
    std::shared_ptr<platform::URLSessionTask> dataTask(platform::URLRequest,
                                                       CompletionHandler handler) override {
        auto task = std::make_shared<Task>();
        const auto kind = count++ % 8;
        if (kind == 0) return task;  // lets go of it at once
        platform::DispatchQueue::global().async(
            [ended = task->ended, kind, handler = std::move(handler)] {
                if (ended->exchange(true)) return;
                auto exchange = FakeURLSession::answered(kind < 6 ? 200 : 503, emptyPage);
                if (kind == 1) exchange.error = NSError{platform::urlErrorDomain, -1005, {}};
                handler(std::move(exchange));
            });
        return task;
    }
};

TEST_F(PendingTest, RandomOperationsOfManyThreadsEachEndOnce) {
    constexpr int operations = 2000, threadCount = 4;
    auto device = fake.device();
    device.urlSession = std::make_shared<UnsteadySession>();
    device.clock = std::make_shared<platform::SystemClock>();
    device.console = std::make_shared<FakeConsole>();
    device.diagnostics = nullptr;  // the fake is for one thread
    ASSERT_TRUE(platform::Device::install(device));
    KCSDK::initialize(config);
    fake.keychain->put("userId", "1");  // so that performances are kept
    const ContentClient unsteady({.deadline = 5ms, .readRetries = 1});
    const auto one = decoded<KCSDKOndemandClass>(classJSON("c1"));
    std::atomic<int> heardOf = 0;
    std::atomic<int> expected = 0;
    const auto end = [&](std::mt19937& random, auto pending) {
        std::stop_source stop;
        pending = std::move(pending).stoppedBy(stop.get_token());
        const auto choice = random() % 5;
        if (choice == 0) return;  // dropped
        ++expected;
        if (choice == 1) pending.cancel();
        if (choice == 2) {
            static_cast<void>(std::move(pending).get());
            ++heardOf;
            return;
        }
        std::move(pending).then(nullptr, [&](const auto&) { ++heardOf; });
        if (choice == 3) stop.request_stop();
    };
    const auto act = [&](unsigned seed) {
        std::mt19937 random(seed);
        for (int i = 0; i < operations / threadCount; ++i) {
            const auto kind = random() % 100;
            if (kind == 0) {
                end(random, unsteady.recordPerformance(*one, i));
            } else if (kind < 34) {
                end(random, unsteady.acceptConsent("c"));
            } else if (kind < 67) {
                end(random, unsteady.consents());
            } else {
                end(random, unsteady.classes({.page = 2}));
            }
        }
    };
    std::vector<std::jthread> threads;
    for (unsigned seed = 1; seed <= threadCount; ++seed) threads.emplace_back(act, seed);
    threads.clear();
    for (int waits = 0; heardOf != expected && waits < 3000; ++waits) {
        std::this_thread::sleep_for(10ms);
    }
    EXPECT_EQ(heardOf, expected);
}

}  // namespace
}  // namespace korvel::tests
