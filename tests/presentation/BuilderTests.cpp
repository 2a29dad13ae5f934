#include "player/Fixture.h"

#include <korvel/model/KCSDKConsent.h>
#include <korvel/platform/uikit/UINavigationController.h>
#include <korvel/platform/uikit/UITabBarController.h>
#include <korvel/presentation/TopViewController.h>

namespace korvel::tests {
namespace {

using platform::UIColor;
using platform::UIControlState;
using platform::UIDevice;

class Builder : public PlayerTest {
protected:
    static platform::UIImage bundled(std::string_view name) {
        return *platform::UIImage::named(
            name, *platform::Device::current().bundle(platform::sdkBundleIdentifier));
    }
    platform::UIImage shown() {
        return overlay().btnPlay->backgroundImage(UIControlState::normal).value();
    }
    std::string body(std::size_t request) {
        return std::string(platform::viewOf(fake.session->requests.at(request).body.value()));
    }
};

// What hands out pointers to itself cannot stand on a stack, nor can what hosts derive from it.
static_assert(!std::is_constructible_v<KCSDKVideoViewBuilder, std::shared_ptr<KCSDKOndemandClass>>);
struct OwnView : UIView {
    using UIView::UIView;
};
static_assert(std::is_abstract_v<OwnView> && std::is_abstract_v<platform::UIViewController> &&
              std::is_abstract_v<platform::AVPlayerItem> &&
              std::is_abstract_v<platform::MainQueue>);

TEST_F(Builder, EmbeddedPlayerFillsItsPlaceAndStartsByItself) {
    start(place);
    ASSERT_NE(events, nullptr);
    EXPECT_EQ(fake.session->requests[0].url.absoluteString(),
              "https://service.test/ondemand/v1/perform/asked");
    const auto view = events->playerVC->view();
    EXPECT_EQ(view->superview(), place);
    EXPECT_EQ(events->playerVC->parent(), nullptr) << "no child controller";
    EXPECT_EQ(place->constraints().size(), 4u);
    EXPECT_EQ(view->backgroundColor(), UIColor::black());
    window->layoutIfNeeded();
    EXPECT_EQ(overlay().view()->bounds().size, (platform::CGSize{640, 360}));

    EXPECT_EQ(player().player()->rate(), 1);
    EXPECT_EQ(shown(), bundled("play")) << "the pictures are crossed";
    EXPECT_EQ(overlay().lblTitle->text(), "Name c1") << "of the first record that came back";
    EXPECT_EQ(overlay().lblTitle->font(), platform::UIFont::boldSystemFont(28));
    EXPECT_EQ(overlay().lblTitle->textColor(), UIColor::white());
    EXPECT_EQ(overlay().slider->thumbImage(), bundled("thumb"));
    EXPECT_EQ(overlay().btnPlay->tintColor(), std::nullopt);
    EXPECT_EQ(player().playerLayer()->videoGravity(),
              platform::AVLayerVideoGravityResizeAspectFill);
    EXPECT_TRUE(player().player()->usesExternalPlaybackWhileExternalScreenIsActive);
    EXPECT_EQ(screen(), std::tuple(false, 1, nullptr));
    EXPECT_TRUE(listener->told.empty()) << "a start by itself says nothing";
    events->playVideo();
    EXPECT_EQ(listener->told, std::vector<std::string>{"status 0"}) << "it was playing";
    EXPECT_EQ(shown(), bundled("pause"));
    EXPECT_EQ(completions, 1);
    EXPECT_EQ(*player().classTag, "c1");
}

TEST_F(Builder, SettersShapeTheControls) {
    builder = makeBuilder();
    builder->setAutoPlay(false);
    builder->setExitButtonColor(UIColor::black());
    builder->setThemeColor(UIColor::systemBlue());
    builder->setPlayPauseButtonColor(UIColor::clear());
    builder->setProgressSliderTintColor(UIColor::black(), UIColor::clear(), std::nullopt,
                                        std::nullopt);
    builder->setTitleFont({"Serif", 12});
    builder->setPlayButtonImage(bundled("close"));
    builder->setShowHideDuration(5);
    start(place);
    EXPECT_EQ(overlay().btnClose->tintColor(), UIColor::systemBlue()) << "the last one wins";
    EXPECT_EQ(overlay().btnPlay->tintColor(), UIColor::clear());
    EXPECT_EQ(overlay().lblTitle->textColor(), UIColor::systemBlue());
    EXPECT_EQ(overlay().lblTitle->font().name, "Serif");
    EXPECT_EQ(overlay().slider->tintColor(), std::nullopt) << "cleared after the theme set it";
    EXPECT_EQ(shown(), bundled("close"));
    EXPECT_EQ(player().player()->rate(), 0);
    EXPECT_EQ(builder->overlayView, nullptr);

    window->layoutIfNeeded();
    tap({50, 200});
    EXPECT_EQ(overlay().viewTap->alpha(), 0.6);
    EXPECT_NEAR(overlay().viewTap->presentationAlpha(fake.clock->now() + 500ms), 0.3, 0.01)
        << "a second, whatever the builder was told";
    pass(5s);
    EXPECT_EQ(overlay().viewTap->alpha(), 0.6) << "nothing hides by itself";
    tap({50, 200});
    EXPECT_EQ(overlay().viewTap->alpha(), 0);
    EXPECT_TRUE(overlay().btnClose->isHidden());
}

TEST_F(Builder, RefusalsReachTheHostAndShowNothing) {
    const auto refuse = [&](int status, const std::string& body) {
        start(place, status, body);
        EXPECT_EQ(events, nullptr);
        return error;
    };
    EXPECT_EQ(refuse(200, "[]"), std::nullopt);
    for (const auto& body : {std::string("junk"), "[" + consentJSON("x") + "]", std::string()}) {
        EXPECT_EQ(refuse(601, body), (NSError{"SDK", 601, {{"consent", "na"}}}));
    }
    const auto required = refuse(601, consentJSON("privacy"));
    EXPECT_EQ(required->code, 601);
    EXPECT_EQ(required->userInfo.size(), 1u) << "neither message nor data";
    const auto consent = std::dynamic_pointer_cast<KCSDKConsent>(required->object("consent"));
    EXPECT_EQ(consent->consentTag, "privacy");
    EXPECT_TRUE(fake.events().empty());

    const auto count = [this](auto, auto failure) {
        ++completions;
        error = failure;
    };
    completions = 0;
    builder->startVideoIn(place, nullptr, count);
    fake.session->failTransport();
    run();
    EXPECT_EQ(completions, 0) << "silence";
    config->baseURL = "nowhere";
    builder->startVideoIn(place, nullptr, count);
    EXPECT_EQ(completions, 0) << "on the main queue, not here";
    run();
    EXPECT_EQ(completions, 1);
    EXPECT_EQ(error, (NSError{"", 0, {}}));
    EXPECT_TRUE(place->subviews().empty());
    EXPECT_TRUE(fake.media->streams.empty());
}

TEST_F(Builder, ManifestsInTheLastComponentAreProtectedAndGetTheFormatSuffix) {
    const std::string suffix = "(format=m3u8-aapl)";
    const std::tuple<std::string, std::string, bool> rows[] = {
        {"https://s/video.ism.manifest", suffix, true},
        {"https://s/manifest/", suffix, true},
        {"https://s/manifest?f=" + suffix, suffix, true},
        {"https://s/manifest" + suffix, "", true},
        {"https://s/Manifest", "", false},
        {"https://s/manifest/v.m3u8", "", false},
        {"https://s/v?x=manifest", "", false}};
    for (const auto& [link, added, isProtected] : rows) {
        start(place, 200, "[" + classJSON("c", R"(,"streamingLink":")" + link + '"') + "]");
        EXPECT_EQ(stream().url.absoluteString(), link + added);
        EXPECT_EQ(stream().keys->delegate() != nullptr, isProtected) << link;
    }
}

TEST_F(Builder, AStreamWithoutAnAddressEndsTheProcessAfterTheStartedEvent) {
    for (const auto* more : {"", R"(,"streamingLink":null)", R"(,"streamingLink":"no address")"}) {
        EXPECT_DEATH(start(place, 200, "[" + classJSON("c", more) + "]"), "has no address");
    }
}

TEST_F(Builder, FullScreenPlayerIsPresentedInLandscapeAndClosesBackToPortrait) {
    start(nullptr);
    ASSERT_NE(events, nullptr);
    EXPECT_EQ(screen(), std::tuple(true, 4, events->playerVC));
    EXPECT_EQ(events->playerVC->supportedInterfaceOrientations(), 24u);
    KCSDK::shared().enablefullscreenVideo = false;
    EXPECT_EQ(events->playerVC->supportedInterfaceOrientations(), 2u) << "asked anew each time";
    KCSDK::shared().enablefullscreenVideo = true;
    EXPECT_TRUE(events->playerVC->shouldAutorotate());
    EXPECT_TRUE(builder->isFullScreenEnabled);

    overlay().toggleControls();
    pass(1s);
    tap(centre(*overlay().btnClose.get()));
    pass(1s);
    EXPECT_EQ(screen(), std::tuple(true, 1, nullptr)) << "nothing resets the flag";
    EXPECT_EQ(listener->told, std::vector<std::string>{"exit 0"});
    ASSERT_TRUE(fake.session->waitForRequests(2));
    EXPECT_NE(body(1).find(R"("actualDurationSecond":0,"contentName":"Name c1")"),
              std::string::npos);
    EXPECT_TRUE(fake.events().back().starts_with("On Demand Class Performed"));
}

TEST_F(Builder, AHostsOverlayIsShownAndOtherwiseLeftAlone) {
    const auto host = platform::make<platform::UISlider>();
    start(place, 200, std::nullopt, host);
    EXPECT_TRUE(player().isCustomOverlayAdded);
    EXPECT_EQ(overlay().view(), host);
    EXPECT_EQ(host->superview(), events->playerVC->viewVideo);
    EXPECT_TRUE(host->gestureRecognizers().empty());
    EXPECT_EQ(player().player()->rate(), 1);
    events->showOverlayView();
    EXPECT_EQ(host->alpha(), 1);
    becomeReady();
    pass(100ms);
    EXPECT_EQ(host->maximumValue(), 1) << "not the duration";
    EXPECT_FALSE(listener->progress.empty());
    buffered(false);
    EXPECT_EQ(listener->told.back(), "empty");
}

TEST_F(Builder, TheTopControllerIsFoundThroughStacksTabsAndPresentations) {
    using platform::UIViewController;
    const auto stack = platform::make<platform::UINavigationController>();
    const auto tabs = platform::make<platform::UITabBarController>();
    const auto inner = platform::make<UIViewController>();
    EXPECT_EQ(topViewController(nullptr), nullptr);
    EXPECT_EQ(topViewController(inner), inner);
    EXPECT_EQ(topViewController(stack), nullptr) << "shows nothing";
    EXPECT_EQ(topViewController(tabs), tabs) << "nothing selected";
    stack->pushViewController(inner);
    tabs->setViewControllers({stack});
    EXPECT_EQ(topViewController(tabs), inner);
    const auto over = platform::make<UIViewController>();
    root->present(over, false);
    run();
    EXPECT_EQ(topViewController(root), over);
}

}  // namespace
}  // namespace korvel::tests
