#include <gtest/gtest.h>
#include <korvel/platform/foundation/MainQueue.h>
#include <korvel/platform/foundation/Semaphore.h>
#include <korvel/platform/foundation/WorkQueue.h>
#include <pthread.h>
#include <algorithm>
#include <csignal>
#include <latch>
#include <set>
#include <thread>
#include <vector>

namespace korvel::tests {
namespace {

using namespace platform;
using namespace std::chrono_literals;

WorkQueue::Options shortLived(std::size_t width) {
    return {.label = "test", .width = width, .grows = true, .idle = 1ms};
}

TEST(SerialQueues, RunOneTaskAfterAnotherInOrderOnAThreadOfTheirOwn) {
    const auto queue = DispatchQueue::serial("com.example.a-long-label");
    std::vector<int> order;
    std::set<std::thread::id> threads;  // unguarded: a second thread would be a data race
    bool takesHostSignals = true;
    Semaphore done(0);
    queue->async({});
    for (int i = 0; i < 1000; ++i) {
        queue->async([&, i] {
            order.push_back(i);
            threads.insert(std::this_thread::get_id());
        });
    }
    queue->async([&] {
        sigset_t blocked;
        pthread_sigmask(SIG_SETMASK, nullptr, &blocked);
        takesHostSignals = !sigismember(&blocked, SIGTERM) || sigismember(&blocked, SIGSEGV);
        done.signal();
    });
    done.wait();
    EXPECT_TRUE(order.size() == 1000 && std::ranges::is_sorted(order));
    EXPECT_EQ(threads.size(), 1u);
    EXPECT_FALSE(takesHostSignals);
}

TEST(SerialQueues, DelaysAreKeptInTheirOrder) {
    const auto queue = DispatchQueue::serial("delays");
    std::vector<int> order;
    Semaphore done(0);
    const auto begin = std::chrono::steady_clock::now();
    queue->asyncAfter(Clock::Duration::max(), [&] { order.push_back(9); });
    for (const int milliseconds : {30, 5, 15, -1}) {
        queue->asyncAfter(std::chrono::milliseconds(milliseconds), [&, milliseconds] {
            order.push_back(milliseconds);
            EXPECT_GE(std::chrono::steady_clock::now() - begin,
                      std::chrono::milliseconds(milliseconds));
            done.signal();
        });
    }
    for (int i = 0; i < 4; ++i) done.wait();
    EXPECT_EQ(order, (std::vector{-1, 5, 15, 30}));
}

/// While it lives the system refuses every new thread.
class NoThreads {
public:
    NoThreads() {
        pthread_attr_init(&before_);
        pthread_getattr_default_np(&before_);
        pthread_attr_t huge;
        pthread_attr_init(&huge);
        pthread_attr_setstacksize(&huge, std::size_t{1} << 46);
        pthread_setattr_default_np(&huge);
        pthread_attr_destroy(&huge);
    }
    NoThreads(const NoThreads&) = delete;
    NoThreads& operator=(const NoThreads&) = delete;
    ~NoThreads() {
        pthread_setattr_default_np(&before_);
        pthread_attr_destroy(&before_);
    }

private:
    pthread_attr_t before_;
};

TEST(Threads, WhatFindsNoneWaitsForOneThatEndsForTheNextAskedForOrForTheMainQueuesTurn) {
    const auto clock = std::make_shared<SystemClock>();
    const auto mainQueue = make<MainQueue>(clock, MainQueue::Driver::manual);
    WorkQueue working(shortLived(1));
    Semaphore ran(0), began(0), mayEnd(0);
    const auto task = [&] { ran.signal(); };
    working.async([&] {
        began.signal();
        mayEnd.wait();
    });
    began.wait();
    const auto first = DispatchQueue::serial("first");
    {
        const NoThreads none;
        first->async(task);
        first->async(task);
        mayEnd.signal();
        ran.wait();  // on the thread that comes to its end
        ran.wait();
    }
    const auto queues = {DispatchQueue::serial("second"), DispatchQueue::serial("third")};
    {
        const NoThreads none;
        for (const auto& queue : queues) queue->async(task);
        mainQueue->drain();
    }
    DispatchQueue::serial("fourth")->async(task);
    for (int i = 0; i < 3; ++i) ran.wait();
    {
        const NoThreads none;
        DispatchQueue::serial("fifth")->async(task);
    }
    mainQueue->drain();
    ran.wait();
}

TEST(SerialQueues, MayGoFromWithinTheirTasksWhichAllRun) {
    Semaphore done(0);
    std::vector<int> order;
    auto queue = DispatchQueue::serial("short life");
    queue->async([&, held = queue]() mutable {
        held.reset();
        order.push_back(1);
    });
    queue->async([&] {
        order.push_back(2);
        done.signal();
    });
    queue.reset();
    done.wait();
    EXPECT_EQ(order, (std::vector{1, 2}));
}

TEST(Pool, GrowsWhileItsTasksWaitForOneAnotherAndEndsItsThreadsWhenIdle) {
    WorkQueue pool(shortLived(2));
    std::latch together(10);
    Semaphore ended(0);
    for (int i = 0; i < 10; ++i) {
        pool.async([&] {
            thread_local std::shared_ptr<Semaphore> atEndOfThread;
            atEndOfThread = {&ended, [](Semaphore* semaphore) { semaphore->signal(); }};
            together.arrive_and_wait();
        });
    }
    for (int i = 0; i < 10; ++i) ended.wait();
}

TEST(Pool, RunsEachTaskOnceWhoeverGivesIt) {
    WorkQueue pool(shortLived(4));  // its threads end and begin in between
    std::vector<std::atomic<int>> runs(4000);
    std::latch finished(4000);
    std::vector<std::thread> givers;
    for (std::size_t giver = 0; giver < 4; ++giver) {
        givers.emplace_back([&, giver] {
            for (std::size_t i = giver; i < runs.size(); i += 4) {
                const auto run = [&, i] {
                    ++runs[i];
                    finished.count_down();
                };
                i % 16 < 4 ? pool.asyncAfter(std::chrono::microseconds(i), run) : pool.async(run);
                Semaphore done(0);  // destroyed while the signaller may still be inside
                if (i % 64 < 4) pool.async([&] { done.signal(); }), done.wait();
            }
        });
    }
    for (auto& giver : givers) giver.join();
    finished.wait();
    EXPECT_TRUE(
        std::all_of(runs.begin(), runs.end(), [](const auto& count) { return count == 1; }));
}

TEST(ProcessEnd, IsNeitherHeldUpNorUpsetByTasks) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    const auto leave = [] {
        static const auto serial = DispatchQueue::serial("blocked");
        static const auto main =
            make<MainQueue>(std::make_shared<SystemClock>(), MainQueue::Driver::ownThread);
        Semaphore started(0);
        const auto block = [&] {
            started.signal();
            Semaphore(0).wait();
        };
        serial->async(block);
        main->async(block);
        DispatchQueue::global().async(block);
        for (int i = 0; i < 3; ++i) started.wait();
        const std::initializer_list<DispatchQueue*> queues{serial.get(), main.get(),
                                                           &DispatchQueue::global()};
        for (auto* queue : queues) {
            for (const auto delay : {0h, 1h}) queue->asyncAfter(delay, [] {});
            queue->async([] {});
        }
        std::exit(0);
    };
    EXPECT_EXIT(leave(), testing::ExitedWithCode(0), "");
}

TEST(ProcessEnd, ComesWithAnExceptionOutOfATask) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    const auto fail = [] {
        DispatchQueue::global().async([] { throw std::runtime_error("told by the runtime"); });
        Semaphore(0).wait();
    };
    EXPECT_EXIT(fail(), testing::KilledBySignal(SIGABRT), "told by the runtime");
}

}  // namespace
}  // namespace korvel::tests
