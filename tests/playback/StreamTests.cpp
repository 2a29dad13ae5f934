#include "playback/Fixture.h"

namespace korvel::tests {

using service::Answer;

TEST_F(PlaybackTest, ThrottledServiceEmptiesTheBufferAndPerformedSecondsGoOn) {
    // The second segment is late, and then just fast enough.
    for (const char* size : {"360p", "720p"}) {
        service.script("/media/50101/" + std::string(size) + "/00001.ts", "GET",
                       Answer{.delay = 5s, .drip = Answer::Drip{.bytes = 10000, .every = 100ms}});
    }
    start("50101");
    ASSERT_TRUE(until([&] { return !listener->told.empty(); }));
    EXPECT_EQ(listener->told, Lines{"likely"});
    const auto began = std::chrono::steady_clock::now();
    ASSERT_TRUE(until([&] { return listener->told.back() == "empty"; }));
    const auto stalledAt = position();
    EXPECT_GT(stalledAt, 1.F);
    EXPECT_LT(stalledAt, 3.2F);
    EXPECT_FALSE(view().overlayController->viewLoader->isHidden());
    EXPECT_EQ(player()->rate(), 1);
    ASSERT_TRUE(until([&] { return position() > 6; }));
    // Each change is told, also that to no more, and a slow stream may run dry again.
    ASSERT_EQ(listener->told.size() % 4, 1U);
    for (auto told = listener->told.begin() + 1; told != listener->told.end(); told += 4) {
        EXPECT_EQ(Lines(told, told + 4), (Lines{"likely", "empty", "empty", "likely"}));
    }
    EXPECT_FALSE(requests("/media/50101/360p/00000.ts").empty()) << "what is sure at first";
    EXPECT_FALSE(requests("/media/50101/720p/00001.ts").empty()) << "then what the line carries";
    EXPECT_TRUE(view().overlayController->viewLoader->isHidden());
    const std::chrono::duration<double> passed = std::chrono::steady_clock::now() - began;
    EXPECT_GT(passed.count(), 7.);
    EXPECT_NEAR(static_cast<double>(view().totalPerformedTime), passed.count(), 1.1)
        << "waiting counts: the rate was never zero";

    events->pauseVideo();
    const auto performed = view().totalPerformedTime;
    pass(1200ms);
    EXPECT_EQ(view().totalPerformedTime, performed);
    stop();
    EXPECT_EQ(listener->told.back(), "exit " + std::to_string(performed));
}

}  // namespace korvel::tests
