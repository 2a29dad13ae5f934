#include "player/Fixture.h"

namespace korvel::tests {
namespace {

using platform::AVPlayer;

class PlayerView : public PlayerTest {
protected:
    std::shared_ptr<KCSDKPlayerView> view;
    std::vector<std::int64_t> closed;

    void load(const std::string& address = "https://s/v.m3u8") {
        if (!view) view = makeView();
        view->closePlayerCallback = [this](std::int64_t seconds) { closed.push_back(seconds); };
        view->loadVideo(url(address));
    }
};

TEST_F(PlayerView, WhatToLoadIsTheHostsChoiceWhateverTheAddress) {
    view = makeView();
    for (const std::string address : {"https://s/manifest/v.m3u8", "https://s/Manifest"}) {
        view->loadProtectedVideo(url(address));
        EXPECT_EQ(stream().url.absoluteString(), address);
        EXPECT_NE(stream().keys->delegate(), nullptr);
    }
    view->loadVideo(url("https://s/manifest"));
    EXPECT_EQ(stream().url.absoluteString(), "https://s/manifest");
    EXPECT_EQ(stream().keys->delegate(), nullptr);
    EXPECT_EQ(view->playerLayer()->videoGravity(), platform::AVLayerVideoGravityResizeAspectFill);
    EXPECT_TRUE(view->player()->usesExternalPlaybackWhileExternalScreenIsActive);
}

TEST_F(PlayerView, ProgressComes150TimesASecondWithThePositionFirst) {
    load();
    pass(1s);
    EXPECT_TRUE(listener->progress.empty()) << "the duration is not known yet";
    becomeReady(20s);
    stream().moveTo(100ms);
    listener->progress.clear();
    pass(1s);
    ASSERT_EQ(listener->progress.size(), 300u);
    for (std::size_t i = 0; i < 300; i += 2) {
        ASSERT_EQ(listener->progress[i], std::pair('p', 0.1f));
        ASSERT_EQ(listener->progress[i + 1], std::pair('d', 20.f));
    }
    view->isProgressUpdating = true;
    pass(1s);
    EXPECT_EQ(listener->progress.size(), 300u);
    view->isProgressUpdating = false;
    stream().length = 0s;
    stream().events->durationChanged();
    run();
    pass(100ms);
    EXPECT_EQ(listener->progress.back(), std::pair('d', 0.f)) << "a duration of zero is known";
    EXPECT_TRUE(listener->told == std::vector<std::string>{"likely"}) << "loading plays nothing";
    EXPECT_EQ(view->player()->rate(), 0);
}

TEST_F(PlayerView, SecondsCountFromTheFirstKeepUpWhileTheRateIsNotZero) {
    load();
    view->changePlayerState();
    pass(5s);
    EXPECT_EQ(view->totalPerformedTime, 0) << "not before it was likely to keep up";
    becomeReady(60s);
    pass(3s);
    EXPECT_EQ(view->totalPerformedTime, 3);
    stream().events->buffered(false);
    run();
    pass(2s);
    EXPECT_EQ(view->totalPerformedTime, 5) << "a stall counts";
    stream().events->buffered(true);
    run();
    view->changePlayerState();
    pass(4s);
    EXPECT_EQ(view->totalPerformedTime, 5) << "a pause does not";
    view->playerLayer()->setPlayer(nullptr);
    pass(2s);
    EXPECT_EQ(view->totalPerformedTime, 7) << "without a player the clock runs on";
    view->changePlayerState();
    EXPECT_EQ(listener->told.back(), "status 0") << "without a player it pauses";
}

TEST_F(PlayerView, BufferingShowsTheLoaderInPlaceOfTheButton) {
    load();
    const auto overlay = view->addOverlay(nullptr);
    becomeReady();
    view->changePlayerState();
    EXPECT_TRUE(overlay->viewLoader->isHidden());
    EXPECT_TRUE(overlay->btnPlay->isHidden()) << "controls start hidden";
    const auto buffer = [&](bool enough) {
        stream().events->buffered(enough);
        run();
        return std::pair(overlay->viewLoader->isHidden(), overlay->btnPlay->isHidden());
    };
    EXPECT_EQ(buffer(false), std::pair(false, true));
    EXPECT_EQ(buffer(true), std::pair(true, true)) << "hidden controls stay hidden";
    overlay->toggleControls();
    EXPECT_EQ(buffer(false), std::pair(false, true));
    EXPECT_EQ(buffer(true), std::pair(true, false));
    EXPECT_EQ(std::count(listener->told.begin(), listener->told.end(), "empty"), 4)
        << "every change is told, whichever way";
}

TEST_F(PlayerView, TheButtonPlaysAndPausesWithItsPicturesAndTint) {
    load();
    const auto overlay = view->addOverlay(nullptr);
    overlay->playImage = *platform::UIImage::named(
        "close", *platform::Device::current().bundle(platform::sdkBundleIdentifier));
    overlay->pauseImage = platform::UIImage();
    overlay->buttonColor = platform::UIColor::systemBlue();
    overlay->toggleControls();
    const auto shown = [&] {
        return overlay->btnPlay->backgroundImage(platform::UIControlState::normal);
    };
    tap(centre(*overlay->btnPlay.get()));
    EXPECT_EQ(view->player()->rate(), 1) << "at once, before anything was loaded";
    EXPECT_EQ(shown(), overlay->pauseImage);
    EXPECT_EQ(overlay->btnPlay->tintColor(), platform::UIColor::systemBlue());
    overlay->buttonColor = std::nullopt;
    tap(centre(*overlay->btnPlay.get()));
    EXPECT_EQ(view->player()->rate(), 0);
    EXPECT_EQ(shown(), overlay->playImage);
    EXPECT_EQ(overlay->btnPlay->tintColor(), std::nullopt);
    EXPECT_EQ(listener->told, (std::vector<std::string>{"status 1", "status 0"}));
}

TEST_F(PlayerView, DraggingTheSliderSeeksOnReleaseAndSilencesProgress) {
    load();
    const auto overlay = view->addOverlay(nullptr);
    overlay->toggleControls();
    const auto slider = overlay->slider.get();
    const auto point = [&](double fraction) {
        window->layoutIfNeeded();
        return slider->convertToWindow(
            {slider->bounds().size.width * fraction, slider->bounds().size.height / 2});
    };
    const auto press = [&](double at) { window->touchBegan(point(at), fake.clock->now()); };
    const auto move = [&](double at) { window->touchMoved(point(at), fake.clock->now()); };
    const auto release = [&](double at) {
        window->touchEnded(point(at), fake.clock->now());
        run();
    };
    const auto drag = [&] { press(0.01), move(0.4), move(0.5); };
    drag();
    EXPECT_FALSE(slider->isUserInteractionEnabled());
    release(0.5);
    EXPECT_TRUE(fake.media->last().seeks.empty()) << "nothing to seek in yet";
    EXPECT_FALSE(view->isProgressUpdating);
    EXPECT_TRUE(slider->isUserInteractionEnabled());

    becomeReady(20s);
    pass(20ms);
    EXPECT_EQ(slider->maximumValue(), 20);
    drag();
    EXPECT_TRUE(view->isProgressUpdating);
    EXPECT_FALSE(overlay->viewLoader->isHidden());
    EXPECT_TRUE(overlay->btnPlay->isHidden());
    const auto value = slider->value();
    EXPECT_NEAR(value, 10, 1);
    listener->progress.clear();
    pass(1s);
    EXPECT_TRUE(listener->progress.empty());
    EXPECT_EQ(slider->value(), value) << "the drag goes on though interaction is off";
    move(0.75);
    release(0.75);
    ASSERT_EQ(stream().seeks.size(), 1u);
    EXPECT_NEAR(std::chrono::duration<double>(stream().seeks[0]).count(), slider->value(), 1e-3);
    EXPECT_NEAR(slider->value(), 15, 1);
    EXPECT_FALSE(view->isProgressUpdating);
    press(0.75);
    release(0.75);
    EXPECT_EQ(stream().seeks.size(), 1u) << "a touch that moves nothing seeks nowhere";
}

TEST_F(PlayerView, ClosingTellsTheExitAtOnceAndTakesDownWithTheNextTurn) {
    load();
    const auto overlay = view->addOverlay(nullptr);
    becomeReady();
    view->changePlayerState();
    pass(2s);
    view->closeBtnTapped();
    EXPECT_EQ(listener->told.back(), "exit 2");
    EXPECT_EQ(view->timeObserver, nullptr);
    EXPECT_FALSE(view->timer->isValid());
    EXPECT_NE(view->player(), nullptr) << "still there until the main queue turns";
    EXPECT_EQ(view->superview(), place);
    view->totalPerformedTime = 9;  // what is read when the callback runs
    run();
    EXPECT_EQ(closed, std::vector<std::int64_t>{9});
    EXPECT_EQ(view->player(), nullptr);
    EXPECT_EQ(view->overlayController, nullptr);
    EXPECT_EQ(view->superview(), nullptr);
    EXPECT_EQ(fake.media->open(), 0u);
    view->closeBtnTapped();
    run();
    EXPECT_EQ(closed.size(), 2u) << "nothing guards against a second closing";

    load();
    EXPECT_NE(view->timer, nullptr);
    becomeReady();
    view->changePlayerState();
    pass(5s);
    EXPECT_EQ(view->totalPerformedTime, 9) << "a view that has closed counts no more";
}

TEST_F(PlayerView, ASecondLoadCountsOnAndTellsProgressTwice) {
    load();
    becomeReady();
    view->changePlayerState();
    pass(2s);
    load("https://s/second.m3u8");
    becomeReady();
    listener->progress.clear();
    pass(1s);
    EXPECT_EQ(listener->progress.size(), 600u);
    EXPECT_EQ(view->totalPerformedTime, 3);
    EXPECT_EQ(fake.media->open(), 1u);
}

TEST_F(PlayerView, ListenersAndViewsThatAreGoneHarmNothing) {
    load();
    becomeReady();
    listener.reset();
    view->changePlayerState();
    pass(1s);
    view->closeBtnTapped();
    const auto weak = std::weak_ptr(view);
    view->removeFromSuperview();
    view.reset();
    EXPECT_TRUE(weak.expired());
    run();
    EXPECT_TRUE(closed.empty()) << "gone before its closing ran";
    EXPECT_EQ(fake.media->open(), 0u);
}

TEST_F(PlayerView, ClosingWithoutACallbackEndsTheProcess) {
    load();
    view->closePlayerCallback = nullptr;
    EXPECT_DEATH((view->closeBtnTapped(), run()), "close callback");
}

}  // namespace
}  // namespace korvel::tests
