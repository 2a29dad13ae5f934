#pragma once

#include <korvel/platform/Device.h>
#include <korvel/platform/avfoundation/AVPlayer.h>
#include <korvel/platform/backends/gstreamer/MediaEngineGStreamer.h>
#include <service/ContentService.h>
#include "support/Pictures.h"

#include <gtest/gtest.h>

#include <atomic>
#include <functional>
#include <string>
#include <utility>
#include <vector>

namespace korvel::tests {

using namespace std::chrono_literals;

/// Answers key requests as a test says, on a queue of its own; the right key if it says nothing.
class KeyHolder final : public platform::AVAssetResourceLoaderDelegate {
public:
    using Request = std::shared_ptr<platform::AVAssetResourceLoadingRequest>;
    std::function<bool(const Request&)> answer;
    std::atomic<int> asked = 0;

    bool shouldWaitForLoadingOfRequestedResource(platform::AVAssetResourceLoader&,
                                                 Request request) override {
        ++asked;
        if (answer) return answer(request);
        const auto kid = request->request()->url.query().value_or("kid=").substr(4);
        const auto key = service::contentKey(kid);
        request->dataRequest()->respond({key.begin(), key.end()});
        request->finishLoading();
        return true;
    }
};

/// Writes down the buffering changes to "true" and the status.
class ItemListener final : public platform::KeyValueObserver {
public:
    std::vector<std::string> heard;
    void observeValueForKeyPath(const std::string& keyPath, platform::Object&,
                                const platform::KeyValueChange& change) override {
        if (change.newValue != 0) heard.push_back(keyPath);
    }
};

/// One stream in one player, its item's key requests and changes at hand.
struct Show {
    std::shared_ptr<KeyHolder> keys = std::make_shared<KeyHolder>();
    std::shared_ptr<ItemListener> listener = std::make_shared<ItemListener>();
    std::shared_ptr<platform::AVPlayerItem> item;
    std::shared_ptr<platform::AVPlayer> player;
    int ends = 0;
    std::shared_ptr<int> owner = std::make_shared<int>();

    /// `answer` to key requests; they may come as soon as this begins.
    Show(const std::string& address, const platform::Device& device,
         std::function<bool(const KeyHolder::Request&)> answer = {}) {
        keys->answer = std::move(answer);
        auto asset = std::make_shared<platform::AVURLAsset>(*platform::URL::parse(address));
        asset->resourceLoader()->setDelegate(keys, platform::DispatchQueue::serial("keys"));
        item = platform::make<platform::AVPlayerItem>(asset);
        for (const auto* path : {"status", "playbackLikelyToKeepUp", "playbackBufferEmpty"})
            item->addObserver(listener, path);
        item->observeDidPlayToEndTime(owner, [this] { ++ends; });
        player = platform::make<platform::AVPlayer>(item, device);
    }

    bool isReady() const { return item->status() == platform::AVPlayerItem::Status::readyToPlay; }
    bool hasFailed() const { return item->status() == platform::AVPlayerItem::Status::failed; }
    double position() const { return CMTimeGetSeconds(player->currentTime()); }
    void seek(double seconds) const {
        const auto to = platform::CMTimeMakeWithSeconds(seconds, platform::nanosecondTimescale);
        player->seek(to, platform::kCMTimeZero, platform::kCMTimeZero);
    }
    int picture() const { return numberOn(player->newestFrame()); }
};

/// Real pipelines on the real service; the test's thread drives the main queue.
class GStreamerTest : public testing::Test {
protected:
    service::ContentService service{service::ContentService::Options{.tls = false}};
    platform::Device device = makeDevice();
    const std::string base = service.baseURL() + "media/50101/";
    const std::string plain = base + "360p/index.m3u8";
    const std::string encrypted = base + "v.ism/360p/index.m3u8";

    static platform::Device makeDevice() {
        platform::Device made;
        made.clock = std::make_shared<platform::SystemClock>();
        made.mainQueue =
            platform::make<platform::MainQueue>(made.clock, platform::MainQueue::Driver::manual);
        NSError error;
        made.mediaEngine = platform::makeMediaEngineGStreamer({.audioSink = "fakesink"}, &error);
        EXPECT_TRUE(made.mediaEngine) << error.description();
        return made;
    }

    /// Runs the main queue until `done`; false after the limit.
    bool until(const std::function<bool()>& done, std::chrono::nanoseconds limit = 20s) {
        // The queue sleeps until something comes; what a test waits for may come unseen by it.
        const auto token = device.mainQueue->every(5ms, [] {});
        const bool came = device.mainQueue->runUntil(done, limit);
        device.mainQueue->cancel(token);
        return came;
    }
    void play(std::chrono::nanoseconds duration) {
        until([] { return false; }, duration);
    }
};

}  // namespace korvel::tests
