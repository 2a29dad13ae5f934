#include "player/Fixture.h"

namespace korvel::tests {
namespace {

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
    buffered(false);
    pass(2s);
    EXPECT_EQ(view->totalPerformedTime, 5) << "a stall counts";
    buffered(true);
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
    const auto hidden = [&](bool enough) {
        buffered(enough);
        return std::pair(overlay->viewLoader->isHidden(), overlay->btnPlay->isHidden());
    };
    EXPECT_EQ(hidden(false), std::pair(false, true));
    EXPECT_EQ(hidden(true), std::pair(true, true)) << "hidden controls stay hidden";
    overlay->toggleControls();
    EXPECT_EQ(hidden(false), std::pair(false, true));
    EXPECT_EQ(hidden(true), std::pair(true, false));
    EXPECT_EQ(std::count(listener->told.begin(), listener->told.end(), "empty"), 4)
        << "every change is told, whichever way";
}

TEST_F(PlayerView, ShownControlsKeepTheirPlaceFreeOfSubtitlesAtAnySize) {
    load();
    const auto overlay = view->addOverlay(nullptr);
    overlay->toggleControls();  // before they have places
    for (const platform::CGSize size : {platform::CGSize{640, 360}, {300, 500}}) {
        view->setFrame({{0, 0}, size});
        window->layoutIfNeeded();
        const double covered = size.height - overlay->slider->frame().minY();
        EXPECT_LT(covered, size.height / 2);
        EXPECT_EQ(view->playerLayer()->subtitleInset(), covered);
    }
    overlay->toggleControls();
    EXPECT_EQ(view->playerLayer()->subtitleInset(), 0);
}

TEST_F(PlayerView, TheButtonPlaysAndPausesInItsColour) {
    load();
    const auto overlay = view->addOverlay(nullptr);
    const auto button = overlay->btnPlay.get();
    overlay->toggleControls();
    overlay->buttonColor = platform::UIColor::systemBlue();
    tap(centre(*button));
    EXPECT_EQ(view->player()->rate(), 1) << "at once, before anything was loaded";
    EXPECT_EQ(button->tintColor(), platform::UIColor::systemBlue());
    overlay->buttonColor = std::nullopt;
    tap(centre(*button));
    EXPECT_EQ(view->player()->rate(), 0);
    EXPECT_EQ(button->tintColor(), std::nullopt);
    EXPECT_EQ(listener->told, (std::vector<std::string>{"status 1", "status 0"}));
}

TEST_F(PlayerView, DraggingTheSliderSeeksOnReleaseAndSilencesProgress) {
    using platform::UIWindow;
    load();
    const auto overlay = view->addOverlay(nullptr);
    overlay->toggleControls();
    const auto slider = overlay->slider.get();
    const auto touch = [&](auto phase, double fraction) {
        window->layoutIfNeeded();
        const auto size = slider->bounds().size;
        const auto point = slider->convertToWindow({size.width * fraction, size.height / 2});
        (*window.*phase)(point, fake.clock->now());
        run();
    };
    const auto drag = [&] {
        touch(&UIWindow::touchBegan, 0.01);
        for (const double fraction : {0.4, 0.5}) touch(&UIWindow::touchMoved, fraction);
    };
    drag();
    EXPECT_FALSE(slider->isUserInteractionEnabled());
    touch(&UIWindow::touchEnded, 0.5);
    EXPECT_TRUE(stream().seeks.empty()) << "nothing to seek in yet";
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
    touch(&UIWindow::touchMoved, 0.75);
    touch(&UIWindow::touchEnded, 0.75);
    ASSERT_EQ(stream().seeks.size(), 1u);
    EXPECT_NEAR(std::chrono::duration<double>(stream().seeks[0]).count(), slider->value(), 1e-3);
    EXPECT_NEAR(slider->value(), 15, 1);
    EXPECT_FALSE(view->isProgressUpdating);
    touch(&UIWindow::touchBegan, 0.75);
    touch(&UIWindow::touchEnded, 0.75);
    EXPECT_EQ(stream().seeks.size(), 1u) << "a touch that moves nothing seeks nowhere";
}

TEST_F(PlayerView, ADragEndsWithoutTheSDKsSliderToo) {
    load();
    for (const bool custom : {false, true}) {
        if (custom) view->addOverlay(platform::make<UIView>());
        view->sliderValueChanged();
        EXPECT_TRUE(view->isProgressUpdating);
        view->sliderMoved();
        EXPECT_FALSE(view->isProgressUpdating);
    }
    becomeReady();
    pass(1s);
    EXPECT_FALSE(listener->progress.empty());
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
