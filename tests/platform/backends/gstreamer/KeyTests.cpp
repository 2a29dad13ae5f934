#include "platform/backends/gstreamer/Fixture.h"

#include <korvel/platform/avfoundation/AVError.h>
#include <korvel/platform/backends/sodium/ContentKeySystemSodium.h>
#include <korvel/platform/foundation/Base64.h>
#include <korvel/platform/foundation/Bundle.h>

#include <ctime>
#include <map>

namespace korvel::tests {

using namespace platform;

namespace {

using Asked = KeyHolder::Request;

double processorSeconds() { return static_cast<double>(std::clock()) / CLOCKS_PER_SEC; }

std::uint64_t checksum(const VideoFrame& frame) {
    std::uint64_t sum = 14695981039346656037U;
    for (std::size_t i = 0; i < 3; ++i) {
        const std::size_t width = i == 0 ? frame.width : frame.width / 2;
        const std::size_t height = i == 0 ? frame.height : frame.height / 2;
        for (std::size_t y = 0; y < height; ++y) {
            for (std::size_t x = 0; x < width; ++x) {
                sum = (sum ^ frame.planes.at(i).data[y * frame.planes.at(i).stride + x]) *
                      1099511628211U;
            }
        }
    }
    return sum;
}

}  // namespace

TEST_F(GStreamerTest, ProtectedPicturesEqualThePlainOnes) {
    // The whole exchange: SPC for the bundled certificate, token, key server, CKC.
    device.contentKeySystem = makeContentKeySystemSodium();
    const auto certificate = *Bundle("sdk", KORVEL_BUNDLE).contents("fairplay", "cer");
    const auto exchange = [&](const Asked& request) {
        const std::string kid = KeyHolder::identifier(*request);
        NSError error;
        const auto spc = request->streamingContentKeyRequestData(certificate, bytesOf(kid), &error);
        EXPECT_TRUE(spc) << error.description();
        const auto reply =
            service.keys().answer("Bearer " + service.keys().issueToken(), kid,
                                  "spc=" + base64Encoded(viewOf(*spc)) + "&assetId=" + kid);
        EXPECT_EQ(reply.status, 200) << reply.body;
        KeyHolder::give(*request, *base64Decoded(reply.body.substr(5, reply.body.size() - 11)));
        return true;
    };
    Show show(base + "v.ism/720p/index.m3u8", device, exchange);
    Show bare(base + "720p/index.m3u8", device);
    for (const double to : {0., 2.9, 3.1, 17.25, 29.8}) {
        for (Show* each : {&show, &bare}) {
            ASSERT_TRUE(until([&] { return each->isReady() || each->hasFailed(); }));
            each->listener->heard.clear();
            each->seek(to);
            ASSERT_TRUE(until([&] { return !each->listener->heard.empty(); }));
        }
        EXPECT_EQ(show.picture(), bare.picture()) << to;
        EXPECT_EQ(checksum(*show.player->newestFrame()), checksum(*bare.player->newestFrame()))
            << to;
    }
    EXPECT_EQ(show.keys->asked, 1) << "once for a load, whatever is sought in it";
}

TEST_F(GStreamerTest, KeyThatDoesNotOpenFailsTheItemAfterOneRequestAndThenAllIsQuiet) {
    const auto giving = [](auto change) {
        return [change](const Asked& request) {
            Data key = KeyHolder::rightKey(*request);
            change(key);
            KeyHolder::give(*request, key);
            return true;
        };
    };
    constexpr auto notAuthorized = static_cast<std::int64_t>(AVError::contentIsNotAuthorized);
    const std::map<std::string, std::pair<std::function<bool(const Asked&)>, std::int64_t>> cases{
        {"refused", {[](const Asked&) { return false; }, notAuthorized}},
        {"failed",
         {[](const Asked& request) {
              request->finishLoading(NSError{"sdk", -3, {}});
              return false;
          },
          -3}},
        {"empty", {giving([](Data& key) { key.clear(); }), notAuthorized}},
        {"short", {giving([](Data& key) { key.pop_back(); }), notAuthorized}},
        {"wrong", {giving([](Data& key) { key.front() ^= 1U; }), 0}},
    };
    for (const auto& [name, expected] : cases) {
        Show show(base + "v.ism/manifest", device, expected.first);
        show.player->play();
        ASSERT_TRUE(until([&] { return show.hasFailed(); })) << name;
        EXPECT_TRUE(expected.second == 0 || show.item->error()->code == expected.second)
            << name << ' ' << show.item->error()->description();
        play(200ms);
        const double before = processorSeconds();
        play(1s);
        EXPECT_LT(processorSeconds() - before, 0.1) << name;
        EXPECT_EQ(show.keys->asked, 1) << name;
        EXPECT_EQ(show.picture(), -1) << name;
    }
}

TEST_F(GStreamerTest, NeverAnsweredKeyHoldsNothingUpAndALateAnswerIsDropped) {
    std::vector<Asked> held;
    std::mutex mutex;
    for (int i = 0; i < 10; ++i) {
        auto show = std::make_unique<Show>(encrypted, device, [&](const Asked& request) {
            const std::lock_guard lock(mutex);
            held.push_back(request);
            return true;
        });
        show->player->play();
        ASSERT_TRUE(until([&] { return show->keys->asked > 0; }));
        show->seek(4);
        EXPECT_EQ(show->position(), 4.);
        play(std::chrono::milliseconds(i * 5));
        const auto start = std::chrono::steady_clock::now();
        show.reset();
        EXPECT_LT(std::chrono::steady_clock::now() - start, 500ms);
    }
    ASSERT_EQ(held.size(), 10u);
    for (const Asked& request : held) {
        EXPECT_TRUE(request->isCancelled());
        KeyHolder::give(*request, KeyHolder::rightKey(*request));
    }
    Show other(encrypted, device);
    other.player->play();
    EXPECT_TRUE(until([&] { return other.picture() > 5; }));
}

TEST_F(GStreamerTest, KeysOfAnySchemeAreAskedForAndSampleEncryptionIsRefused) {
    const auto serve = [&](const std::string& key, const std::string& folder) {
        const auto playlist = [&](const std::string& name, const std::string& text) {
            service.script("/key-test/" + name, "GET",
                           {.body = "#EXTM3U\n#EXT-X-VERSION:3\n" + text,
                            .headers = {{"Content-Type", "application/vnd.apple.mpegurl"}}},
                           9);
        };
        playlist("master", "#EXT-X-STREAM-INF:BANDWIDTH=500000\nv.m3u8\n");
        playlist("v.m3u8", "#EXT-X-TARGETDURATION:3\n#EXT-X-KEY:" + key +
                               "\n#EXTINF:3,\n/media/50101/" + folder +
                               "00000.ts\n#EXT-X-ENDLIST\n");
    };
    serve("METHOD=AES-128,URI=\"Vendor.X+1://h/k?kid=development-360p\"", "v.ism/360p/");
    Show show(service.baseURL() + "key-test/master", device);
    show.player->play();
    EXPECT_TRUE(until([&] { return show.picture() > 5 || show.hasFailed(); }));
    EXPECT_FALSE(show.hasFailed()) << show.item->error()->description();
    EXPECT_EQ(show.keys->asked, 1);

    service.clearScripts();
    serve("METHOD=SAMPLE-AES,URI=\"skd://h/k?kid=development-360p\"", "360p/");
    Show refused(service.baseURL() + "key-test/master", device);
    refused.player->play();
    ASSERT_TRUE(until([&] { return refused.hasFailed(); }));
    EXPECT_EQ(refused.item->error()->code, static_cast<std::int64_t>(AVError::contentIsProtected));
    EXPECT_EQ(refused.picture(), -1);
}

}  // namespace korvel::tests
