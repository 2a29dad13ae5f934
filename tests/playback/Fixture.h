#pragma once

#include <korvel/doubles/FakeConsole.h>
#include <korvel/doubles/FakeKeychain.h>
#include <korvel/doubles/FakeLocalytics.h>
#include "support/Listener.h"
#include "support/Pictures.h"
#include "support/RealService.h"

#include <korvel/KorvelContentSDK.h>
#include <korvel/platform/avfoundation/AVPlayer.h>
#include <korvel/platform/backends/gstreamer/MediaEngineGStreamer.h>
#include <korvel/platform/foundation/SDKBundle.h>
#include <korvel/platform/uikit/UIWindow.h>
#include <korvel/player/KCSDKPlayerOverlay.h>
#include <korvel/player/KCSDKPlayerView.h>
#include <korvel/player/KCSDKPlayerViewController.h>

#include <gtest/gtest.h>

#include <ctime>

namespace korvel::tests {

using namespace doubles;

using namespace std::chrono_literals;
using Lines = std::vector<std::string>;

/// The SDK as a host uses it, on real transport, pipelines and time, against a real service; only
/// keychain and analytics are fakes. The test's thread drives the main queue.
class PlaybackTest : public testing::Test {
protected:
    service::ContentService service;
    std::shared_ptr<FakeConsole> console = std::make_shared<FakeConsole>();
    std::shared_ptr<platform::MainQueue> mainQueue;
    std::shared_ptr<platform::UIWindow> window;
    std::shared_ptr<platform::UIView> place;
    std::shared_ptr<Listener> listener;
    std::shared_ptr<KCSDKPlayerEvents> events;

    void SetUp() override {
        const auto keychain = std::make_shared<FakeKeychain>();
        platform::Device device;
        device.keychain = keychain;
        device.localytics = std::make_shared<FakeLocalytics>();
        device.console = console;
        device.clock = std::make_shared<platform::SystemClock>();
        device.mainQueue = mainQueue =
            platform::make<platform::MainQueue>(device.clock, platform::MainQueue::Driver::manual);
        device.bundles.emplace_back(std::string(platform::sdkBundleIdentifier), KORVEL_BUNDLE);
        ASSERT_TRUE(platform::installDeviceGStreamer(
            device, {.certificateAuthorityFile = service.caFile()}, {.audioSink = "fakesink"}));
        KCSDK::initialize(makeConfig(service.options(), service.baseURL()));
        const auto user = service.accounts().logIn("anna");
        keychain->put("token", user.code);
        keychain->put("userId", user.id);
        service.accounts().acceptConsent("anna", "privacy-2024");
        service.accounts().setSubscription("anna", service::Subscription{"now", "monthly"});

        window = platform::make<platform::UIWindow>(platform::Device::current().screen,
                                                    platform::CGRect{{0, 0}, {640, 360}});
        window->setRootViewController(platform::make<platform::UIViewController>());
        window->makeKeyAndVisible();
        place = platform::make<platform::UIView>(window->bounds());
        window->rootViewController()->view()->addSubview(place);
    }

    /// Runs the main queue until `done`; false after the limit.
    bool until(const std::function<bool()>& done, std::chrono::nanoseconds limit = 20s) {
        // The queue sleeps until something comes; what a test waits for may come unseen by it.
        const auto token = mainQueue->every(5ms, [] {});
        const bool came = mainQueue->runUntil(done, limit);
        mainQueue->cancel(token);
        return came;
    }
    void pass(std::chrono::nanoseconds time) {
        until([] { return false; }, time);
    }

    /// Starts a class as every host does.
    void start(const std::string& tag) {
        std::shared_ptr<KCSDKOndemandClass> record;
        std::atomic<bool> came = false;
        KCSDK::getOndemandClassDetails(tag, [&](auto found, auto) {
            record = found;
            came = true;
        });
        ASSERT_TRUE(until([&] { return came.load(); }) && record);
        const auto builder = KCSDKVideoViewBuilder::create(record);
        builder->setEventReceiver(listener = std::make_shared<Listener>());
        builder->startVideoIn(place, nullptr, [this](auto started, auto error) {
            events = started;
            EXPECT_FALSE(error) << error->description();
        });
        ASSERT_TRUE(until([&] { return events != nullptr; }));
    }
    /// Closes the player; how long the main queue was busy with it.
    std::chrono::nanoseconds stop() {
        const auto start = std::chrono::steady_clock::now();
        events->stopVideo();
        EXPECT_TRUE(until([&] { return !player(); }));
        return std::chrono::steady_clock::now() - start;
    }

    KCSDKPlayerView& view() { return *events->playerVC->viewVideo; }
    std::shared_ptr<platform::AVPlayer> player() { return view().player(); }
    std::shared_ptr<platform::AVPlayerItem> item() { return player()->currentItem(); }
    float position() const {
        return listener->progress.empty() ? -1 : listener->progress.rbegin()[1].second;
    }
    bool hasFailed() { return item()->status() == platform::AVPlayerItem::Status::failed; }

    int picture() { return numberOn(player()->newestFrame()); }

    /// The requests so far whose target starts so.
    std::vector<service::ReceivedRequest> requests(const std::string& prefix) const {
        std::vector<service::ReceivedRequest> found;
        for (const auto& each : service.requests()) {
            if (each.target.starts_with(prefix)) found.push_back(each);
        }
        return found;
    }
    static double processorSeconds() { return static_cast<double>(std::clock()) / CLOCKS_PER_SEC; }
};

}  // namespace korvel::tests
