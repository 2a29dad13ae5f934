#include "platform/backends/gstreamer/Fixture.h"
#include "support/ChildProcess.h"
#include "support/Memory.h"

#include <korvel/platform/avfoundation/AVError.h>
#include <korvel/platform/backends/gstreamer/Registry.h>

#include <malloc.h>

#include <cmath>

namespace korvel::tests {

using namespace platform;

TEST_F(GStreamerTest, PlainStreamShowsTheRightPicturesSeeksExactlyAndEnds) {
    Show show(base + "index.m3u8", device);
    EXPECT_TRUE(std::isnan(CMTimeGetSeconds(show.item->duration())));
    ASSERT_TRUE(until([&] { return show.isReady() || show.hasFailed(); }));
    EXPECT_EQ(show.picture(), 0);
    EXPECT_EQ(show.position(), 0.);
    EXPECT_NEAR(CMTimeGetSeconds(show.item->duration()), 30, 0.05);
    play(300ms);
    EXPECT_EQ(show.picture(), 0) << "nothing moves until it is told to play";
    EXPECT_EQ(show.item->presentationSize().height, 360) << "what is sure on any line";
    ASSERT_TRUE(until([&] {
        return show.item->isPlaybackLikelyToKeepUp() &&
               show.item->accessLog().back().numberOfMediaRequests > 1;
    }));
    const auto loaded = show.item->loadedTimeRanges();
    ASSERT_EQ(loaded.size(), 1u);
    EXPECT_EQ(loaded[0].start, CMTime::of(0ns));
    EXPECT_GE(CMTimeGetSeconds(loaded[0].duration), 1);
    const auto log = show.item->accessLog();
    ASSERT_EQ(log.size(), 2u);
    EXPECT_EQ(log[1].URI, base + "720p/index.m3u8");
    EXPECT_GT(log[1].observedBitrate, 0);
    EXPECT_GT(log[0].startupTime, 0);
    {
        Show next(base + "index.m3u8", device);
        ASSERT_TRUE(until([&] { return next.isReady(); }));
        EXPECT_EQ(next.item->presentationSize().height, 720) << "by the line of the former stream";
    }

    show.seek(28);
    show.player->play();
    ASSERT_TRUE(until([&] { return show.ends > 0; }));
    EXPECT_EQ(show.ends, 1);
    EXPECT_EQ(show.player->rate(), 0.f);
    EXPECT_EQ(show.picture(), 899);
    EXPECT_LE(show.position(), CMTimeGetSeconds(show.item->duration()));
    EXPECT_NEAR(show.position(), 30, 0.1);

    show.player->seek(CMTimeMake(40, 1), kCMTimeZero, kCMTimeZero);
    show.player->play();
    EXPECT_TRUE(until([&] { return show.ends == 2; })) << "beyond the end is the end";
    show.seek(5);
    show.player->play();
    EXPECT_TRUE(until([&] { return show.position() > 5.2 && show.position() < 6; }));
    EXPECT_EQ(show.keys->asked, 0);
}

TEST_F(GStreamerTest, ADecodersRankCountsAsItIsNow) {
    const gst::Caps caps(gst_caps_from_string("audio/mpeg, mpegversion=(int)4"));
    const auto decoder = [&]() -> std::string {
        const auto made = gst::makeDecoder(caps.get());
        if (!made) return "none";
        gst_element_set_state(made.get(), GST_STATE_NULL);
        return GST_OBJECT_NAME(gst_element_get_factory(made.get()));
    };
    const auto usual = decoder();
    const gst::Ref<GstPluginFeature> feature(
        gst_registry_lookup_feature(gst_registry_get(), usual.c_str()));
    ASSERT_TRUE(feature) << usual;
    const auto rank = gst_plugin_feature_get_rank(feature.get());
    gst_plugin_feature_set_rank(feature.get(), GST_RANK_NONE);
    EXPECT_NE(decoder(), usual);
    gst_plugin_feature_set_rank(feature.get(), rank);
    EXPECT_EQ(decoder(), usual);
}

TEST_F(GStreamerTest, StreamsComeOverTLSUnderTheGivenAuthorityAlone) {
    const service::ContentService secure;
    const std::string address = secure.baseURL() + "media/50101/index.m3u8";
    Show untrusted(address, device);
    EXPECT_TRUE(until([&] { return untrusted.hasFailed(); }));
    device.mediaEngine = makeMediaEngineGStreamer(
        {.certificateAuthorityFile = secure.caFile(), .audioSink = "fakesink"});
    Show trusted(address, device);
    EXPECT_TRUE(until([&] { return trusted.isReady() || trusted.hasFailed(); }));
    EXPECT_EQ(trusted.picture(), 0);

    NSError error;
    EXPECT_FALSE(makeMediaEngineGStreamer({.certificateAuthorityFile = "/nowhere"}, &error));
    EXPECT_FALSE(makeMediaEngineGStreamer({.audioSink = "nosuchsink"}, &error));
    EXPECT_EQ(error.code, static_cast<std::int64_t>(AVError::noMediaEngine));
}

TEST_F(GStreamerTest, TwoPlayersKeepToTheirOwnStreamsAndKeys) {
    Show first(encrypted, device);
    Show second(plain, device);
    Show refused(encrypted, device, [](const auto&) { return false; });
    first.player->play();
    second.player->play();
    second.seek(20);
    EXPECT_TRUE(until(
        [&] { return first.position() > 1 && second.position() > 21 && refused.hasFailed(); }));
    EXPECT_EQ(first.keys->asked, 1);
    EXPECT_EQ(second.keys->asked, 0);
    EXPECT_EQ(refused.keys->asked, 1);
    EXPECT_GT(second.picture(), 600);
    EXPECT_LT(first.picture(), 300);
    const MediaStartUp& steps = first.item->startUp();
    EXPECT_TRUE(steps.opened < steps.playlist && steps.playlist < steps.keyAsked &&
                steps.keyAsked < steps.key && steps.key < steps.picture);
    EXPECT_TRUE(steps.playlist < steps.segment && steps.segment < steps.picture)
        << "it is loaded while the key is awaited";
    EXPECT_FALSE(second.item->startUp().keyAsked || refused.item->startUp().key);
}

TEST_F(GStreamerTest, ManyOpenedAndClosedAtAnyMomentAreQuickAndLeaveNothingBehind) {
    const auto cycle = [&](int i) {
        std::function<bool(const KeyHolder::Request&)> never;
        if (i % 4 == 0) never = [](const auto&) { return true; };
        auto show = std::make_unique<Show>(i % 2 ? plain : encrypted, device, never);
        show->player->play();
        if (i % 4 == 1) {
            EXPECT_TRUE(until([&] { return show->isReady(); }));
        }
        play(std::chrono::milliseconds(i * 7 % 90));
        if (i % 3 == 0) show->seek(15);
        play(std::chrono::milliseconds(i % 5));
        const auto start = std::chrono::steady_clock::now();
        show.reset();
        // Only what waits for something takes so long; how quick it is the benchmark tells.
        EXPECT_LT(std::chrono::steady_clock::now() - start, 5s);
    };
    for (int i = 0; i < 15; ++i) cycle(i);
    const auto threads = entriesOf("/proc/self/task"), descriptors = entriesOf("/proc/self/fd");
    malloc_trim(0);  // what lies idle in the allocator's arenas changes from run to run
    const auto before = megabytes("VmRSS:");
    for (int i = 0; i < 30; ++i) cycle(i);
    play(100ms);
    EXPECT_LE(entriesOf("/proc/self/task"), threads + 3) << "but for helpers that end later";
    EXPECT_LE(entriesOf("/proc/self/fd"), descriptors + 6) << "but for connections that end later";
    malloc_trim(0);
    EXPECT_TRUE(sanitized || megabytes("VmRSS:") - before <= 16);
}

}  // namespace korvel::tests
