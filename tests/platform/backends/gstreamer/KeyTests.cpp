#include "platform/backends/gstreamer/Fixture.h"

#include <korvel/platform/backends/sodium/ContentKeySystemSodium.h>
#include <korvel/platform/foundation/Base64.h>
#include <korvel/platform/foundation/Bundle.h>

#include <mutex>

namespace korvel::tests {

using namespace platform;

namespace {

using Asked = KeyHolder::Request;

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

}  // namespace korvel::tests
