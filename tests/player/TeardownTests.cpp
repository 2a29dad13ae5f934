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
    std::size_t requests = 0;

    void play(bool embedded) {
        platform::Device::current().screen->addObserver(turn);
        start(embedded ? place : nullptr);
        becomeReady();
        pass(2s);
    }
    /// The host drops all that it has of the player.
    void letGo() {
        builder.reset();
        events.reset();
        place->removeFromSuperview();
        place = std::make_shared<UIView>(platform::CGRect{{20, 10}, {640, 360}});
        root->view()->addSubview(place);
    }
    void expectARecordAndNothingLeft(int seconds) {
        run();
        requests += 2;  // the first asked to perform
        ASSERT_TRUE(fake.session->waitForRequests(requests));
        const std::string record(platform::viewOf(fake.session->requests.back().body.value()));
        const auto wanted = R"("actualDurationSecond":)" + std::to_string(seconds) + ",";
        EXPECT_NE(record.find(wanted), record.npos) << record;
        EXPECT_EQ(fake.media->open(), 0u);
        fake.session->answer(200, "");
    }
};

TEST_F(Teardown, ACloseThatWasBegunIsRecordedWhoeverLetsGo) {
    const std::function<void()> ends[] = {[&] { events->stopVideo(); },
                                          [&] { player().closeBtnTapped(); },
                                          [&] { stream().playToEnd(); }};
    for (const bool withinTheExit : {true, false}) {
        for (const auto& end : ends) {
            play(true);
            listener->onExit = [&] { return withinTheExit ? letGo() : void(); };
            end();
            if (&end == &ends[2]) fake.mainQueue->drain();  // the end is told, not yet taken down
            letGo();
            expectARecordAndNothingLeft(2);
        }
    }
}

TEST_F(Teardown, APlayerThatNobodyShowsLivesUntilItHasClosed) {
    play(false);
    events->exitFullScreen();
    letGo();
    pass(1s);
    stream().playToEnd();
    expectARecordAndNothingLeft(3);

    play(false);
    events->exitFullScreen();
    events->enterFullScreen();
    letGo();
    pass(1s);
    EXPECT_EQ(fake.media->open(), 1u);
    root->dismiss(false);
    run();
    EXPECT_EQ(fake.media->open(), 0u) << "with the presentation, silently";
    ++requests;

    window.reset();
    play(false);
    letGo();
    stream().playToEnd();
    expectARecordAndNothingLeft(2);
}

TEST_F(Teardown, AnExitThatIsAnsweredWithAnExitEndsNoLessAndNoMoreOften) {
    listener->onExit = [&] {
        events->exitFullScreen();
        events->stopVideo();
    };
    play(true);
    events->stopVideo();
    expectARecordAndNothingLeft(2);
    EXPECT_EQ(std::count(listener->told.begin(), listener->told.end(), "exit 2"), 2);
    EXPECT_TRUE(place->subviews().empty());

    listener->told.clear();
    play(true);
    events->enterFullScreen();
    pass(1s);
    events->exitFullScreen();
    expectARecordAndNothingLeft(3);
    pass(1s);
    EXPECT_EQ(std::count(listener->told.begin(), listener->told.end(), "exit 3"), 2);
    EXPECT_TRUE(place->subviews().empty()) << "what has closed does not return to its parent";
    EXPECT_EQ(root->presentedViewController(), nullptr);

    listener->onExit = [] {};
    events->stopVideo();
    requests -= 1;
    expectARecordAndNothingLeft(3);
    events->exitFullScreen();
    EXPECT_EQ(place->subviews().size(), 1u) << "unless it is asked to";
}

TEST_F(Teardown, ATurnOfTheDeviceMayEndWhatCausedIt) {
    play(true);
    const auto controller = events->playerVC;
    turn->then = [&] { events.reset(); };
    events->enterFullScreen();
    EXPECT_EQ(root->presentedViewController(), controller);
    controller->viewVideo->closeBtnTapped();
    expectARecordAndNothingLeft(2);

    play(true);
    platform::UIDevice::current().setValue(1, "orientation");
    turn->then = [&] { events->exitFullScreen(); };
    events->enterFullScreen();
    EXPECT_EQ(root->presentedViewController(), nullptr);
    EXPECT_EQ(place->subviews().size(), 1u);
}

TEST_F(Teardown, TheStartIsTaggedBeforeThereIsAPlayerAndTheRecordWhereNobodyWaits) {
    builder = makeBuilder();
    builder->startVideoIn(place, nullptr, [&](auto started, auto) { events = started; });
    const std::string link = R"(,"streamingLink":"https://s/v.m3u8")";
    fake.session->answer(200, "[" + classJSON("c1", link) + "]");
    ASSERT_EQ(fake.events().size(), 1u) << "before the main queue turns";
    EXPECT_TRUE(fake.events()[0].starts_with("On Demand Class Started"));
    EXPECT_TRUE(fake.media->streams.empty());
    run();
    ASSERT_NE(events, nullptr);

    const int usual = getpriority(PRIO_PROCESS, 0);
    int niceness = usual;
    std::thread::id recorder;
    fake.localytics->onCall = [&] {
        niceness = getpriority(PRIO_PROCESS, 0);  // of the calling thread
        recorder = std::this_thread::get_id();
    };
    events->stopVideo();
    expectARecordAndNothingLeft(0);
    EXPECT_NE(recorder, std::this_thread::get_id());
    EXPECT_GT(niceness, usual);
}

}  // namespace
}  // namespace korvel::tests
