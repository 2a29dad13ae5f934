#include <gtest/gtest.h>
#include <korvel/doubles/VirtualClock.h>
#include <korvel/platform/foundation/RunLoop.h>
#include <korvel/platform/foundation/Semaphore.h>
#include <korvel/platform/foundation/Timer.h>
#include <thread>
#include <vector>

namespace korvel::tests {

using namespace doubles;
namespace {

using namespace platform;
using namespace std::chrono_literals;
using Times = std::vector<std::int64_t>;
using Names = std::vector<std::string>;

/// Remembers what it was asked. Any thread.
struct FakePump final : Pump {
    void wakeAt(Clock::Instant time) override {
        const std::lock_guard lock(mutex);
        times.push_back(time);
        woken.signal();
    }
    std::mutex mutex;
    std::vector<Clock::Instant> times;
    Semaphore woken{0};
};

/// Calls back when the last copy of the closure that holds it goes.
std::shared_ptr<void> onRelease(std::function<void()> action) {
    return {nullptr, [action = std::move(action)](void*) { action(); }};
}

struct MainQueueOnAVirtualClock : testing::Test {
    std::shared_ptr<VirtualClock> clock = std::make_shared<VirtualClock>();
    std::shared_ptr<MainQueue> queue = make<MainQueue>(clock, MainQueue::Driver::manual);
    const Clock::Instant start = clock->now();
    Names log;

    std::int64_t elapsed() const { return (clock->now() - start) / 1ms; }
    std::function<void()> note(std::string name) {
        return [this, name] { log.push_back(name + "@" + std::to_string(elapsed())); };
    }
};

struct MainQueueOnItsOwnThread : testing::Test {
    std::shared_ptr<MainQueue> queue =
        make<MainQueue>(std::make_shared<SystemClock>(), MainQueue::Driver::ownThread);
    Semaphore reached{0};
    Semaphore release{0};
    std::atomic<bool> over = false;

    /// A task that is in progress on the queue's own thread until `release`, and `next` given with
    /// it.
    void occupyOwnThread(std::function<void()> next) {
        queue->async([this, next] {
            queue->async([this] {
                reached.signal();
                release.wait();
                over = true;
            });
            queue->async(next);
        });
        reached.wait();
    }
};

TEST_F(MainQueueOnAVirtualClock, EachTaskRunsInOrderAndSeesTheTimeItIsDue) {
    queue->asyncAfter(500ms, note("late"));
    queue->asyncAfter(500ms, note("later"));
    queue->asyncAfter(Clock::Duration::max(), note("never"));
    queue->asyncAfter(20ms, [this] {
        note("nests")();
        queue->asyncAfter(20ms, note("nested"));
        queue->async(note("follows"));
    });
    queue->asyncAfter(-1s, note("overdue"));
    queue->async(note("first"));
    queue->async({});
    queue->async(note("second"));
    clock->advance(*queue, 1h);
    EXPECT_EQ(log, (Names{"first@0", "second@0", "overdue@0", "nests@20", "follows@20", "nested@40",
                          "late@500", "later@500"}));
}

TEST_F(MainQueueOnAVirtualClock, RepetitionKeepsItsRateAndDropsWhatItMissed) {
    Times times;
    queue->every(10ms, [&] {
        times.push_back(elapsed());
        if (times.size() == 2) clock->advance(35ms);  // busy
    });
    clock->advance(*queue, 80ms);
    EXPECT_EQ(times, (Times{10, 20, 60, 70, 80}));
}

TEST_F(MainQueueOnAVirtualClock, OneDrainRunsOnlyWhatWasThere) {
    int runs = 0;
    const std::function<void()> again = [&] { ++runs, queue->async(again); };
    const std::function<void()> dueAgain = [&] { ++runs, queue->asyncAfter(0ms, dueAgain); };
    queue->async(again);
    queue->asyncAfter(0ms, dueAgain);
    for (int drained = 1; drained < 5; ++drained) {
        EXPECT_EQ(queue->drain(), Clock::Instant::min());
        EXPECT_EQ(runs, 2 * drained);
    }
}

TEST_F(MainQueueOnAVirtualClock, CancellationIsFinalAndReleasesTheTask) {
    MainQueue::Token own = 0, other = 0;
    int released = 0;
    const auto counts = [&] {
        return onRelease([&] {
            ++released;
            queue->async(note("released"));  // would dead-lock if a lock were held
        });
    };
    own = queue->every(10ms, [&, kept = counts()] {
        note("own")();
        queue->cancel(own);
        queue->cancel(other);
        EXPECT_EQ(released, 1) << "the one in progress is kept until it is through";
    });
    other = queue->every(10ms, [this, kept = counts()] { note("other")(); });
    clock->advance(*queue, 50ms);
    EXPECT_EQ(log, (Names{"own@10", "released@10", "released@10"}));
    EXPECT_EQ(released, 2);
}

TEST_F(MainQueueOnAVirtualClock, ATaskMayDrainOrRunALoop) {
    queue->every(10ms, [this] {
        note("tick")();
        clock->advance(25ms);
        queue->drain();
    });
    queue->async([this] {
        queue->async(note("inner"));
        queue->drain();
        EXPECT_TRUE(queue->runUntil([this] { return log.size() == 2; }));
        log.push_back("outer");
        queue->async(note("after"));
    });
    queue->async(note("second"));
    queue->drain();
    EXPECT_EQ(log, (Names{"second@0", "inner@0", "outer"})) << "the outer round is over as well";
    clock->advance(*queue, 10ms);
    EXPECT_EQ(Names(log.begin() + 3, log.end()), (Names{"after@0", "tick@10"}))
        << "a tick does not run inside itself";
}

TEST_F(MainQueueOnAVirtualClock, TasksGoRightAfterTheyRanOrWithTheQueue) {
    queue->async([this, kept = onRelease(note("gone"))] { note("runs")(); });
    queue->async([this] {
        note("next")();
        queue.reset();  // from its own task
    });
    queue->async([this, kept = onRelease(note("dropped"))] { note("never")(); });
    queue->every(1s, [this, kept = onRelease(note("dropped"))] { note("never")(); });
    EXPECT_EQ(queue->drain(), std::nullopt);
    EXPECT_EQ(log, (Names{"runs@0", "gone@0", "next@0", "dropped@0", "dropped@0"}));
}

TEST_F(MainQueueOnAVirtualClock, APumpIsAskedOncePerRoundAndForTheEarliestTime) {
    const auto pump = std::make_shared<FakePump>();
    queue->async([] {});
    EXPECT_FALSE(queue->isDriven());
    queue->attach(pump);
    EXPECT_TRUE(queue->isDriven());
    for (int i = 0; i < 3; ++i) queue->async([] {});
    EXPECT_EQ(std::exchange(pump->times, {}), std::vector{MainQueue::atOnce});
    queue->drain();
    for (const auto delay : {30ms, 40ms, 20ms}) queue->asyncAfter(delay, [] {});
    EXPECT_EQ(std::exchange(pump->times, {}), (std::vector{start + 30ms, start + 20ms}));
    queue->every(10ms, [] {});
    pump->times.clear();
    clock->advance(*queue, 1s);
    EXPECT_TRUE(pump->times.empty()) << "what a drain returns need not be asked for";
    queue->attach({});
    EXPECT_FALSE(queue->isDriven());
    queue->async([] {});
    EXPECT_TRUE(pump->times.empty());
}

TEST_F(MainQueueOnItsOwnThread, HandsOverToAPumpAfterTheTaskInProgress) {
    std::thread::id ranOn;
    occupyOwnThread([&] {
        EXPECT_TRUE(over) << "two tasks at once";
        EXPECT_TRUE(queue->isMain());
        ranOn = std::this_thread::get_id();
    });
    const auto pump = std::make_shared<FakePump>();
    queue->attach(pump);  // does not wait
    pump->woken.wait();
    EXPECT_EQ(queue->drain(), std::nullopt) << "nothing runs while the other thread does";
    EXPECT_FALSE(queue->isMain());
    release.signal();
    pump->woken.wait();
    queue->drain();
    EXPECT_EQ(ranOn, std::this_thread::get_id());
    EXPECT_TRUE(queue->isMain());
}

TEST_F(MainQueueOnItsOwnThread, HandsOverToARunLoopForGood) {
    int runs = 0;
    const auto run = [&, main = std::this_thread::get_id()] {
        EXPECT_TRUE(over);
        EXPECT_EQ(std::this_thread::get_id(), main);
        ++runs;
    };
    occupyOwnThread(run);
    EXPECT_FALSE(queue->runUntil([] { return true; }, 1ms)) << "the limit counts, waiting, too";
    release.signal();
    EXPECT_TRUE(queue->runUntil([&] { return runs == 1; }));
    queue->async(run);
    EXPECT_EQ(runs, 1);
    EXPECT_TRUE(queue->runUntil([&] {
        if (runs == 2) queue->async(run);
        std::thread([&] {
            EXPECT_FALSE(queue->isMain());
            EXPECT_TRUE(queue->isDriven());
            EXPECT_EQ(queue->drain(), std::nullopt) << "the loop drives";
        }).join();
        return runs == 3;
    }));
}

TEST_F(MainQueueOnItsOwnThread, NeverRunsTwoTasksAtOnceWhileDriversCompete) {
    constexpr int all = 2000;
    std::atomic<int> running = 0, runs = 0;
    const auto drainUntilDone = [&] {
        while (runs < all) {
            queue->drain();
            queue->runUntil([] { return true; }, 1us);
        }
    };
    std::thread giver([&] {
        for (int i = 0; i < all; ++i) {
            queue->async([&] {
                EXPECT_EQ(++running, 1);
                --running;
                ++runs;
            });
        }
    });
    std::thread rival(drainUntilDone);
    drainUntilDone();
    giver.join();
    rival.join();
}

TEST(RunLoops, EndByStopByLimitOrWhenDone) {
    const auto queue = make<MainQueue>(std::make_shared<SystemClock>(), MainQueue::Driver::manual);
    RunLoop loop(queue);
    loop.stop();
    loop.run();  // a stop that came first is not lost
    EXPECT_FALSE(loop.runUntil([] { return false; }, 1ms)) << "nor counted twice";

    int level = 0;
    queue->async([&] {
        ++level;
        queue->async([&] { loop.stop(); });
        loop.run();  // the inner one is stopped
        ++level;
    });
    EXPECT_TRUE(loop.runUntil([&] { return level == 2; }));

    std::thread stopper([&] { loop.stop(); });
    EXPECT_FALSE(loop.runUntil([] { return false; }));
    stopper.join();
}

TEST_F(MainQueueOnAVirtualClock, TimersFireOnceOrAgainAndAgainUntilInvalidated) {
    const auto once = Timer::scheduled(*queue, 10ms, false, note("once"));
    int ticks = 0;
    std::shared_ptr<Timer> again;
    again = Timer::scheduled(*queue, 10ms, true, [&, kept = onRelease(note("released"))] {
        if (++ticks == 3) again->invalidate(), note("end")();
    });
    Timer::scheduled(*queue, 15ms, false, note("kept by the queue"));
    EXPECT_TRUE(once->isValid() && again->isValid());
    clock->advance(*queue, 1s);
    EXPECT_EQ(log, (Names{"once@10", "kept by the queue@15", "end@30", "released@30"}));
    EXPECT_FALSE(once->isValid() || again->isValid());
    EXPECT_EQ(queue->drain(), std::nullopt) << "nothing of them stays in the queue";
}

}  // namespace
}  // namespace korvel::tests
