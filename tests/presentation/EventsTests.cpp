#include "player/Fixture.h"

namespace korvel::tests {
namespace {

using platform::UIDevice;

class Events : public PlayerTest {};

TEST_F(Events, PlayAndPauseAreOneToggleAndSoAreShowAndHide) {
    start(place);
    becomeReady();
    listener->told.clear();
    events->pauseVideo();
    events->pauseVideo();
    events->playVideo();
    EXPECT_EQ(listener->told, (std::vector<std::string>{"status 0", "status 1", "status 0"}));
    EXPECT_FALSE(overlay().controlsShown());
    events->hideOverlayView();
    EXPECT_TRUE(overlay().controlsShown());
    events->showOverlayView();
    EXPECT_FALSE(overlay().controlsShown());
    EXPECT_EQ(overlay().viewTap->presentationAlpha(fake.clock->now()), 0) << "not animated";
}

TEST_F(Events, StopClosesOnceEachTimeItIsCalled) {
    start(place);
    events->stopVideo();
    EXPECT_EQ(player().superview(), nullptr) << "at once";
    run();
    ASSERT_TRUE(fake.session->waitForRequests(2));
    events->stopVideo();
    run();
    ASSERT_TRUE(fake.session->waitForRequests(3));
    EXPECT_EQ(listener->told, (std::vector<std::string>{"exit 0", "exit 0"}));
    events->playVideo();
    EXPECT_EQ(listener->told.back(), "status 0") << "the view is still held";
    events->seekTo(3);
    events->showOverlayView();
    events->exitFullScreen();
}

TEST_F(Events, FullScreenAndBackReturnsThePlayerToItsParent) {
    start(place);
    const auto shown = events->playerVC->view();
    events->enterFullScreen();
    EXPECT_EQ(screen(), std::tuple(true, 4, events->playerVC));
    pass(1s);
    window->layoutIfNeeded();
    EXPECT_EQ(player().bounds().size, (platform::CGSize{800, 600}));
    events->enterFullScreen();  // already there: refused without a sign
    pass(1s);

    player().totalPerformedTime = 7;
    events->exitFullScreen();
    pass(1s);
    EXPECT_EQ(listener->told, std::vector<std::string>{"exit 7"}) << "though nothing closed";
    EXPECT_EQ(screen(), std::tuple(false, 1, nullptr));
    EXPECT_EQ(events->parentFrame, place->frame());
    EXPECT_EQ(shown->superview(), place);
    EXPECT_EQ(place->subviews().back(), shown);
    EXPECT_EQ(player().superview(), shown);
    events->stopVideo();
    run();
    EXPECT_TRUE(place->subviews().empty());
}

TEST_F(Events, LeavingFullScreenWithoutAParentOnlyDismisses) {
    start(nullptr);
    pass(1s);
    events->exitFullScreen();
    pass(1s);
    EXPECT_EQ(root->presentedViewController(), nullptr);
    EXPECT_EQ(events->parentFrame, std::nullopt);
    EXPECT_EQ(listener->told, std::vector<std::string>{"exit 0"});
    UIDevice::current().setValue(4, "orientation");
    events->stopVideo();
    run();
    EXPECT_EQ(UIDevice::current().orientation(), 4) << "closes as an embedded one";
}

TEST_F(Events, WithoutAWindowAPlayerThatGoesFullScreenIsDetachedButNotShown) {
    start(place);
    const auto shown = events->playerVC->view();
    window.reset();
    events->enterFullScreen();
    EXPECT_EQ(shown->superview(), nullptr);
    EXPECT_TRUE(KCSDK::shared().enablefullscreenVideo);
}

TEST_F(Events, SeeksGoThroughAsTheyAreAndLeaveTheSliderToProgress) {
    start(place);
    becomeReady(20s);
    overlay().slider->setValue(0);
    events->seekTo(2.5f);
    EXPECT_EQ(overlay().slider->value(), 0);
    run();
    EXPECT_EQ(stream().seeks.back(), 2500ms);
    pass(10ms);
    EXPECT_NEAR(overlay().slider->value(), 2.5, 0.1);
    events->seekTo(1e9f);
    events->seekTo(-5);
    run();
    EXPECT_EQ(stream().seeks.back(), 0ms);
}

}  // namespace
}  // namespace korvel::tests
