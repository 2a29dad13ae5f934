#pragma once

#include <korvel/doubles/FakeDevice.h>
#include "support/Listener.h"
#include "support/Samples.h"

#include <korvel/KorvelContentSDK.h>
#include <korvel/network/KCSDKNetworkManager.h>
#include <korvel/platform/avfoundation/AVPlayer.h>
#include <korvel/platform/avfoundation/AVPlayerItem.h>
#include <korvel/platform/foundation/SDKBundle.h>
#include <korvel/platform/foundation/Timer.h>
#include <korvel/platform/uikit/UIApplication.h>
#include <korvel/platform/uikit/UIDevice.h>
#include <korvel/platform/uikit/UIWindow.h>
#include <korvel/player/KCSDKPlayerOverlay.h>
#include <korvel/player/KCSDKPlayerView.h>
#include <korvel/player/KCSDKPlayerViewController.h>
#include <korvel/player/KCSDKPlayerViewModel.h>

#include <gtest/gtest.h>

namespace korvel::tests {

using namespace doubles;

using namespace std::chrono_literals;
using platform::UIView;

/// The SDK on a device of fakes, with a window whose root has a place for an embedded player. The
/// facade is once per process, and so is each of these tests.
class PlayerTest : public testing::Test {
protected:
    FakeDevice fake;
    std::shared_ptr<KCSDKConfig> config =
        std::make_shared<KCSDKConfig>("https://service.test/", "secret", "key", "tenant", "a");
    std::shared_ptr<platform::UIWindow> window;
    std::shared_ptr<platform::UIViewController> root = platform::make<platform::UIViewController>();
    std::shared_ptr<UIView> place = platform::make<UIView>(platform::CGRect{{20, 10}, {640, 360}});
    std::shared_ptr<Listener> listener = std::make_shared<Listener>();

    void SetUp() override { install(KORVEL_BUNDLE); }
    virtual void install(const std::filesystem::path& bundle) {
        auto device = fake.device();
        device.bundles.emplace_back(std::string(platform::sdkBundleIdentifier), bundle);
        ASSERT_TRUE(platform::Device::install(device));
        KCSDK::initialize(config);
        window = platform::make<platform::UIWindow>(platform::Device::current().screen,
                                                    platform::CGRect{{0, 0}, {800, 600}});
        window->setRootViewController(root);
        window->makeKeyAndVisible();
        root->view()->addSubview(place);
        run();
    }

    /// What is due now, and all that follows from it.
    void run() { fake.clock->settle(*fake.mainQueue); }
    void pass(std::chrono::milliseconds time) { fake.clock->advance(*fake.mainQueue, time); }
    FakeMediaEngine::Stream& stream() { return fake.media->last(); }
    void becomeReady(std::chrono::seconds duration = 20s) {
        stream().becomeReady(duration);
        run();
    }
    void buffered(bool enough) {
        stream().events->buffered(enough);
        run();
    }

    std::shared_ptr<KCSDKPlayerView> makeView() {
        auto view = platform::make<KCSDKPlayerView>(platform::Device::current(),
                                                    KCSDKNetworkManager::shared());
        view->delegate = listener;
        place->addSubview(view);
        view->setFrame(place->bounds());
        return view;
    }
    static platform::URL url(const std::string& text) { return *platform::URL::parse(text); }

    platform::CGPoint centre(UIView& view) {
        window->layoutIfNeeded();
        const auto bounds = view.bounds();
        return view.convertToWindow({bounds.size.width / 2, bounds.size.height / 2});
    }
    void tap(platform::CGPoint point) {
        window->touchBegan(point, fake.clock->now());
        window->touchEnded(point, fake.clock->now());
        run();
    }

    std::shared_ptr<KCSDKVideoViewBuilder> builder;  ///< made by `start`, unless a test did
    std::shared_ptr<KCSDKPlayerEvents> events;
    std::optional<NSError> error;
    int completions = 0;

    static std::shared_ptr<KCSDKVideoViewBuilder> makeBuilder() {
        return KCSDKVideoViewBuilder::create(decoded<KCSDKOndemandClass>(classJSON("asked")));
    }
    /// Starts a class; the service answers the perform request so.
    void start(const std::shared_ptr<UIView>& parent, int status = 200,
               std::optional<std::string> body = std::nullopt,
               const std::shared_ptr<UIView>& overlay = nullptr) {
        if (!builder) builder = makeBuilder();
        builder->setEventReceiver(listener);
        builder->startVideoIn(parent, overlay, [this](auto started, auto failure) {
            ++completions;
            events = started;
            error = failure;
        });
        const auto played = classJSON("c1", R"(,"streamingLink":"https://s/v.m3u8")");
        fake.session->answer(status, body.value_or("[" + played + "," + classJSON("c2") + "]"));
        run();
    }
    /// The flag, the device's orientation, and who is presented.
    auto screen() const {
        return std::tuple(KCSDK::shared().enablefullscreenVideo.load(),
                          platform::UIDevice::current().orientation(),
                          root->presentedViewController());
    }
    KCSDKPlayerView& player() { return *events->playerVC->viewVideo; }
    KCSDKPlayerOverlay& overlay() { return *player().overlayController; }
};

}  // namespace korvel::tests
