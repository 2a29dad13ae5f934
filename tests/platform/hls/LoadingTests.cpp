#include "platform/hls/Fixture.h"

#include <korvel/platform/hls/Cipher.h>
#include <korvel/platform/hls/Fetcher.h>
#include <korvel/platform/hls/Ladder.h>
#include <korvel/platform/hls/Levels.h>
#include <korvel/platform/hls/SegmentSource.h>
#include <korvel/platform/hls/Timeline.h>

#include <gtest/gtest.h>

#include <numeric>

namespace korvel::tests {

using namespace platform;
using namespace platform::hls;

namespace {

class FetcherTest : public testing::Test {
protected:
    /// Fetches on a thread of its own and lets the time go by as fast as it is waited for.
    Fetcher::Body fetch(FetchRequest request) {
        std::optional<Fetcher::Body> body;
        std::atomic<bool> done = false;
        std::thread thread([&] {
            body = Fetcher(server, *attention).whole(request, attention->current());
            done = true;
        });
        while (!done) {
            timers.advance(250ms);
            std::this_thread::yield();
        }
        thread.join();
        return *std::move(body);
    }
    static Data counting(std::size_t size) {
        Data bytes(size);
        std::iota(bytes.begin(), bytes.end(), std::uint8_t{0});
        return bytes;
    }

    Timers timers;
    const std::shared_ptr<FakeServer> server = std::make_shared<FakeServer>(timers.clock);
    const std::shared_ptr<Attention> attention =
        std::make_shared<Attention>(timers.clock, timers.after());
    const URL url = *URL::parse("https://h/s");
    const Data whole = counting(50'000);
};

}  // namespace

TEST_F(FetcherTest, GoesOnWhereTheLineWasCutWhetherRangesAreObeyedOrNot) {
    for (const bool obeys : {true, false}) {
        for (const auto& range :
             {std::optional<ByteRange>(), std::optional(ByteRange{100, 30'000})}) {
            server->put("https://h/s",
                        {.body = whole, .obeysRanges = obeys, .cutAfter = 20'000, .piece = 3000});
            const auto got = fetch({.url = url, .range = range});
            EXPECT_EQ(got.result.end, FetchResult::End::done) << got.result.error.description();
            EXPECT_EQ(got.bytes, range ? Data(whole.begin() + 100, whole.begin() + 30'100) : whole);
        }
    }
}

TEST_F(FetcherTest, AsksAgainForWhatMayComeAndNotForWhatWillNot) {
    struct Row {
        const char* what;
        FakeServer::Answer answer;
        FetchResult::End end;
        std::size_t requests;
    };
    const Row rows[] = {
        {"published late", {.body = whole, .refusals = 2}, FetchResult::End::done, 3},
        {"a line that was down", {.body = whole, .cutAfter = 0}, FetchResult::End::done, 2},
        {"not there", {.status = 404}, FetchResult::End::failed, 3},
        {"forbidden", {.status = 403}, FetchResult::End::failed, 1},
        {"server at fault", {.status = 503}, FetchResult::End::failed, 5},
        {"leads down to http",
         {.body = whole, .redirect = "http://h/s"},
         FetchResult::End::failed,
         1},
        {"leads to a file", {.body = whole, .redirect = "file:///s"}, FetchResult::End::failed, 1},
        {"too long", {.body = counting(70'000)}, FetchResult::End::failed, 1},
    };
    for (const Row& row : rows) {
        const auto before = server->count("https://h/s");
        server->put("https://h/s", row.answer);
        const auto got = fetch({.url = url, .limit = 60'000});
        EXPECT_EQ(got.result.end, row.end) << row.what;
        EXPECT_EQ(server->count("https://h/s") - before, row.requests) << row.what;
        const auto* reason = got.result.error.text("NSLocalizedFailureReason");
        if (row.end == FetchResult::End::failed) {
            ASSERT_TRUE(reason) << row.what;
            EXPECT_NE(reason->find("/s"), reason->npos) << "says which address: " << *reason;
        }
    }
}

TEST_F(FetcherTest, WhatIsOvertakenEndsAtOnce) {
    server->put("https://h/s", {.isHeld = true});
    const auto generation = attention->current();
    std::thread thread([&] {
        EXPECT_EQ(Fetcher(server, *attention).whole({.url = url}, generation).result.end,
                  FetchResult::End::stale);
    });
    while (server->count("https://h/s") == 0) std::this_thread::yield();
    attention->raise();
    thread.join();
    EXPECT_EQ(Fetcher(server, *attention).whole({.url = url}, generation).result.end,
              FetchResult::End::stale)
        << "also what begins too late";
}

TEST(CipherTest, NoticesWhatIsNotWhole) {
    const auto cipher = makeCipher(ContentKey{}, InitializationVector{});
    cipher->update(Data(16));
    EXPECT_FALSE(cipher->finish()) << "no padding";
}

TEST(TimelineTest, ContainersTimesBecomeThePresentations) {
    Timeline timeline;
    const auto begin = [&](std::int64_t discontinuity, std::chrono::nanoseconds container,
                           std::chrono::nanoseconds playlist,
                           std::optional<std::chrono::nanoseconds> goesOn = {},
                           std::optional<std::chrono::nanoseconds> wrap = {}) {
        return container + timeline.shift({discontinuity, container, wrap, playlist, 2s, goesOn});
    };
    EXPECT_EQ(begin(0, 100s, 0s), 0s);
    EXPECT_EQ(begin(0, 102100ms, 2s, 2s), 2100ms) << "inside, the container tells, not the list";
    EXPECT_EQ(begin(1, 7s, 4s), 4s) << "an anchor for each discontinuity";
    EXPECT_EQ(begin(0, 103s, 3s), 3s) << "and back again";
    EXPECT_EQ(begin(2, 95'440s, 6s, {}, 95'443s), 6s);
    EXPECT_EQ(begin(2, 1s, 10s, 10s, 95'443s), 10s) << "wrapped";
    EXPECT_EQ(begin(3, 0s, 20s), 20s);
    EXPECT_EQ(begin(3, 0s, 22s, 22s), 22s) << "begins anew in silence";
    EXPECT_EQ(begin(3, 0s, 24s, 24s), 24s);
    EXPECT_EQ(begin(3, 0s, 22s), 22s) << "sought again";
}

TEST(LevelsTest, EnoughIsSaidAtOneSecondAndTakenBackOnlyWhenNothingIsLeft) {
    Levels levels;
    const auto add = [&](Kind kind, std::chrono::nanoseconds at) {
        levels.added(kind, {.bytes = Data(10), .pts = at, .duration = 500ms});
    };
    add(Kind::picture, 0s);
    EXPECT_FALSE(levels.judge(0s).isEnough) << "nobody knows yet what there is";
    levels.setTracks({.picture = true, .sound = true});
    add(Kind::picture, 500ms);
    EXPECT_FALSE(levels.judge(0s).isEnough) << "the least of both counts";
    add(Kind::sound, 500ms);
    EXPECT_TRUE(levels.judge(0s).isEnough);
    for (const Kind kind : {Kind::picture, Kind::sound}) {
        levels.taken(kind, 100);
        levels.starved(kind);
    }
    const auto early = levels.judge(500ms);
    EXPECT_TRUE(early.isEnough) << "what was taken still plays";
    EXPECT_EQ(early.again, 400ms);
    EXPECT_FALSE(levels.judge(950ms).isEnough);
    EXPECT_EQ(levels.stalls(), 1);
    add(Kind::picture, 1500ms);
    add(Kind::sound, 1500ms);
    EXPECT_FALSE(levels.judge(950ms).isEnough) << "after a stall more is wanted";
    add(Kind::picture, 2500ms);
    levels.ended(Kind::sound);
    EXPECT_TRUE(levels.judge(950ms).isEnough) << "what has ended does not count";
    levels.restart(10s);
    EXPECT_FALSE(levels.judge(10s).isEnough);
}

TEST(LadderTest, ChoosesBySpeedStoreAndBounds) {
    const std::vector<Variant> variants{{500'000, 640, 360, 0, {}, {}},
                                        {6'000'000, 1920, 1080, 0, {}, {}},
                                        {2'000'000, 1280, 720, 0, {}, {}}};
    const Clock::Instant now{};
    const auto measuredAt = [&](Ladder& ladder, double bitsPerSecond, int times = 8) {
        for (int i = 0; i < times; ++i)
            ladder.measured(static_cast<std::uint64_t>(bitsPerSecond / 8), 1s);
    };
    Ladder ladder(variants);
    EXPECT_EQ(ladder.choice({}, 0s, now), 0u) << "until measured, what is sure";
    EXPECT_EQ(Ladder(variants, {}, 8e6).choice({}, 0s, now), 1u) << "or what was carried of late";
    measuredAt(ladder, 7e6);
    EXPECT_EQ(ladder.choice(0, 3s, now), 2u) << "the best has no margin, ...";
    EXPECT_EQ(ladder.choice(0, 8s, now), 1u) << "which much in store replaces, ...";
    EXPECT_EQ(ladder.choice(1, 3s, now), 1u) << "and which is not wanted to stay";
    EXPECT_EQ(ladder.choice(0, 1500ms, now, 2s), 2u) << "what comes in no time is begun at once";
    Ladder small(variants);
    for (int i = 0; i < 9; ++i) small.measured(1'000, 1ms);
    EXPECT_EQ(small.choice(0, 8s, now), 1u) << "small segments tell together";
    measuredAt(ladder, 5.8e6);
    EXPECT_EQ(ladder.choice(2, 8s, now), 2u) << "a little too much, ...";
    EXPECT_EQ(ladder.choice(2, 9s, now), 1u) << "for which a full store stands in, ...";
    EXPECT_EQ(ladder.choice(1, 8s, now), 1u) << "as long as there is much of it";
    measuredAt(ladder, 1e6);
    EXPECT_EQ(ladder.choice(1, 1s, now), 0u);
    measuredAt(ladder, 8e6, 3);
    EXPECT_EQ(ladder.choice(0, 5s, now), 1u) << "best again within three segments";
    EXPECT_EQ(ladder.choice(0, 1s, now), 0u) << "but not with nothing in store";
    ladder.setBounds({.width = 1280, .height = 720});
    EXPECT_EQ(ladder.choice(1, 9s, now), 2u) << "no more pictures than the view has pixels";
    ladder.setBounds({.bitRate = 1'000'000});
    EXPECT_EQ(ladder.choice(1, 9s, now), 0u);
    ladder.setBounds({});
    ladder.failed(1, now);
    EXPECT_EQ(ladder.choice(1, 9s, now), 2u);
    EXPECT_EQ(ladder.choice(2, 9s, now + 6s), 1u) << "tried again later";
    ladder.failed(1, now);
    EXPECT_EQ(ladder.choice(2, 9s, now + 6s), 2u) << "and later still";
}

TEST(LineMemoryTest, WhatWasMeasuredIsBelievedTheLessTheOlderItIs) {
    LineMemory line;
    const Clock::Instant now{};
    EXPECT_FALSE(line.recall(now));
    line.keep(8e6, now + 1h);
    EXPECT_EQ(line.recall(now), 8e6) << "whatever order threads come in";
    EXPECT_EQ(line.recall(now + 1h + 10min), 4e6);
    line.keep(1e12, now);
    EXPECT_LT(line.recall(now + 1h), 2e6) << "however quick it was";
}

TEST(LadderTest, ALineThatTricklesTellsSoonerThanOneThatPauses) {
    struct Case {
        std::uint64_t piece;
        std::chrono::nanoseconds wait;
        std::chrono::nanoseconds toldAfter;  ///< zero: never
        const char* why;
    };
    for (const Case& each :
         {Case{2000, 16ms, 48ms, "a megabit, evenly"}, Case{14'000, 40ms, 120ms, "bursts may grow"},
          Case{12'500, 10ms, 0ms, "ten megabits"}}) {
        Ladder ladder({{300'000, 0, 0, 0, {}, {}}, {5'000'000, 0, 0, 0, {}, {}}});
        Meter meter;
        std::chrono::nanoseconds told{};
        for (std::uint64_t i = 0; i < 40 && told == 0ms; ++i) {
            const auto busy = each.wait * static_cast<int>(i);
            meter.add(each.piece * (i + 1), busy);
            if (ladder.gaveUp(1, {each.piece * (i + 1), 1'250'000, meter, 2s, 0s}, {})) told = busy;
        }
        EXPECT_EQ(told, each.toldAfter) << each.why;
    }
}

TEST(LadderTest, WithAStoreALineThatGetsSlowerIsWaitedForUntilItIsKnownHowSlow) {
    const auto givenUpAfter = [](std::chrono::nanoseconds level) {
        Ladder ladder({{450'000, 0, 0, 0, {}, {}}, {5'100'000, 0, 0, 0, {}, {}}}, {}, 8e6);
        Meter meter;
        std::uint64_t bytes = 0;
        for (auto busy = 0ms; busy < 3s; busy += 20ms) {
            bytes += busy <= 1s ? 20'000 : 2'500;  // eight megabits a second, then one
            meter.add(bytes, busy);
            if (ladder.gaveUp(1, {bytes, 3'000'000, meter, 2s, level}, {})) return busy;
        }
        return 0ms;
    };
    EXPECT_LT(givenUpAfter(1s), 1500ms);
    EXPECT_GT(givenUpAfter(8s), 1600ms);
}

TEST(LadderTest, ADownloadThatWouldEndAfterTheStoreIsGivenUpForALesserOneOnly) {
    struct Case {
        std::chrono::nanoseconds
            slow;  // for the last 60 kB of a megabyte, the rest came in no time
        std::chrono::nanoseconds level;
        std::size_t variant;
        bool isGivenUp;
        const char* why;
    };
    for (const Case& each :
         {Case{1s, 1s, 2, true, "by what came of late"}, Case{1s, 20s, 2, false, "the store lasts"},
          Case{50ms, 1s, 2, false, "too early to tell"},
          Case{10s, 5s, 2, false, "nothing comes through, which may pass"},
          Case{10s, 1s, 2, true, "or not"}, Case{1s, 1s, 0, false, "there is nothing less"},
          Case{100ms, 0s, 1, false, "the line carries it"}}) {
        Ladder ladder({{300'000, 0, 0, 0, {}, {}},
                       {3'000'000, 0, 0, 0, {}, {}},
                       {6'000'000, 0, 0, 0, {}, {}}},
                      {}, 10e6);
        Meter meter;
        meter.add(0, 0s);
        meter.add(940'000, 10ms);
        meter.add(940'000, 20ms);
        meter.add(1'000'000, 20ms + each.slow);
        const Ladder::Progress progress{1'000'000, 1'500'000, meter, 2s, each.level};
        EXPECT_EQ(ladder.gaveUp(each.variant, progress, {}), each.isGivenUp) << each.why;
        EXPECT_EQ(ladder.choice({}, each.level, {}), each.isGivenUp ? 0u : 2u) << each.why;
    }
}

}  // namespace korvel::tests
