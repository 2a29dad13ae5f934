#include "player/Fixture.h"

#include <korvel/platform/uikit/Screen.h>

#include <sys/resource.h>
#include <thread>

namespace korvel::tests {
namespace {

struct Turn final : platform::UIViewTreeObserver {
    std::function<void()> then = [] {};
    void orientationChanged(std::int64_t) override {
        std::exchange(then, [] {})();
    }
};

class Teardown : public PlayerTest {
protected:
    const std::shared_ptr<Turn> turn = std::make_shared<Turn>();
    std::weak_ptr<KCSDKPlayerViewController> controller;
    std::size_t requests = 0;

    void play(bool embedded) {
        platform::Device::current().screen->addObserver(turn);
        start(embedded ? place : nullptr);
        becomeReady();
        pass(2s);
        listener->told.clear();
        controller = events->playerVC;
    }
    /// The host drops all that it has of the player.
    void letGo() {
        builder.reset();
        events.reset();
        place->removeFromSuperview();
        place = platform::make<UIView>(platform::CGRect{{20, 10}, {640, 360}});
        root->view()->addSubview(place);
    }
    void expectARecordAndNothingLeft() {
        run();
        EXPECT_TRUE(events || controller.expired());
        EXPECT_EQ(fake.media->open(), 0u);
        EXPECT_TRUE(place->subviews().empty());
        requests += 2;  // the first asked to perform
        ASSERT_TRUE(fake.session->waitForRequests(requests));
        const std::string record(platform::viewOf(fake.session->requests.back().body.value()));
        EXPECT_NE(record.find(R"("actualDurationSecond":2,)"), record.npos) << record;
        fake.session->answer(200, "");
    }
};

TEST_F(Teardown, ACloseThatWasBegunIsRecordedWhoeverLetsGo) {
    const std::function<void()> ends[] = {
        [&] { events->stopVideo(); },
        [&] {
            const std::weak_ptr view = events->playerVC->viewVideo;
            builder.reset();
            events.reset();
            view.lock()->closeBtnTapped();  // its place keeps it
        },
        [&] { (stream().playToEnd(), fake.mainQueue->drain()); }};  // told, not yet taken down
    for (const bool withinTheExit : {true, false}) {
        for (const auto& end : ends) {
            play(true);
            listener->onExit = [&] { return withinTheExit ? letGo() : void(); };
            end();
            letGo();
            expectARecordAndNothingLeft();
        }
    }
}

TEST_F(Teardown, APlayerThatNobodyShowsLivesUntilItHasClosedOrBeenShown) {
    play(false);
    events->exitFullScreen();
    events->enterFullScreen();
    letGo();
    root->dismiss(false);
    EXPECT_TRUE(controller.expired()) << "with the presentation, silently";
    ++requests;
    for (const bool windowed : {true, false}) {
        if (!windowed) window.reset();
        play(false);
        if (windowed) events->exitFullScreen();
        letGo();
        stream().playToEnd();
        expectARecordAndNothingLeft();
    }
}

TEST_F(Teardown, AnExitThatIsAnsweredWithExitsEndsOnce) {
    for (const bool fullScreen : {true, false}) {
        play(true);
        listener->onExit = [&] { (events->exitFullScreen(), events->stopVideo()); };
        if (fullScreen) events->enterFullScreen();
        fullScreen ? events->exitFullScreen() : events->stopVideo();
        expectARecordAndNothingLeft();
        EXPECT_EQ(listener->told, (std::vector<std::string>{"exit 2", "exit 2"}));
        EXPECT_EQ(root->presentedViewController(), nullptr);
        listener->onExit = [] {};
    }
    events->exitFullScreen();
    EXPECT_EQ(place->subviews().size(), 1u) << "what closed long ago returns, though black";
}

TEST_F(Teardown, ATurnOfTheDeviceOrAnExitMayEndWhatCausedIt) {
    play(true);
    turn->then = [&] { events.reset(); };
    events->enterFullScreen();
    EXPECT_EQ(root->presentedViewController(), controller.lock());
    controller.lock()->viewVideo->closeBtnTapped();
    expectARecordAndNothingLeft();

    play(true);
    turn->then = [&] { events->exitFullScreen(); };
    events->enterFullScreen();
    EXPECT_EQ(root->presentedViewController(), nullptr);
    EXPECT_EQ(place->subviews().size(), 1u);

    events->enterFullScreen();
    listener->onExit = [&] { events.reset(); };
    events->exitFullScreen();
    run();
    EXPECT_EQ(place->subviews().size(), 1u);
}

TEST_F(Teardown, TheStartIsTaggedBeforeTheMainQueueTurnsAndTheRecordSentFromBehindIt) {
    builder = makeBuilder();
    builder->startVideoIn(place, nullptr, [&](auto started, auto) { events = started; });
    fake.session->answer(200, "[" + classJSON("c", R"(,"streamingLink":"https://s/v")") + "]");
    ASSERT_EQ(fake.events().size(), 1u);
    EXPECT_TRUE(fake.events()[0].starts_with("On Demand Class Started"));
    run();
    ASSERT_NE(events, nullptr);
    int niceness = 0;  // of the calling thread
    std::thread::id recorder;
    fake.localytics->onCall = [&] {
        niceness = getpriority(PRIO_PROCESS, 0);
        recorder = std::this_thread::get_id();
    };
    events->stopVideo();
    run();
    ASSERT_TRUE(fake.session->waitForRequests(2));
    EXPECT_NE(recorder, std::this_thread::get_id());
    EXPECT_GT(niceness, getpriority(PRIO_PROCESS, 0));
}

}  // namespace
}  // namespace korvel::tests
