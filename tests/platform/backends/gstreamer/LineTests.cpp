#include "platform/backends/gstreamer/Fixture.h"
#include "platform/backends/gstreamer/FormServer.h"

#include <random>

namespace korvel::tests {

using namespace platform;

using httplib::Request;
using httplib::Response;

/// Servers and lines as they are found.
class LineTest : public GStreamerTest {
protected:
    FormServer server{KORVEL_FORMS};
};

TEST_F(LineTest, RedirectsCookiesWrongTypesAndWhatIsCutOrMissingForAWhileDoNoHarm) {
    std::mutex mutex;
    std::map<std::string, int> asked;
    std::atomic<int> bare = 0;
    server.misbehaves = [&](const Request& request, Response& response) {
        if (request.path == "/moved") {
            response.set_redirect("/ts-2/index.m3u8", 302);
            return true;
        }
        const auto content = contentOf(request.path);
        if (!request.path.ends_with(".ts")) {
            response.set_header("Set-Cookie", "pass=1; Path=/");
            response.set_content(content, "application/vnd.apple.mpegurl");
            return true;
        }
        if (request.get_header_value("Cookie") != "pass=1") ++bare;
        const std::lock_guard lock(mutex);
        switch (asked[request.path]++) {
            case 0:
                response.status = 503;
                break;
            case 1:  // less than was promised
                response.set_content_provider(
                    content.size(), "video/mp2t", [content](std::size_t at, auto, auto& sink) {
                        return at == 0 && sink.write(content.data(), content.size() / 3);
                    });
                const_cast<Request&>(request).ranges.clear();
                break;
            default:
                response.set_content(content, "text/html");
        }
        return true;
    };
    Show show(server / "moved", device);
    ASSERT_TRUE(until([&] { return show.isReady() || show.hasFailed(); }));
    ASSERT_TRUE(show.isReady()) << show.item->error()->description();
    EXPECT_EQ(show.picture(), 0);
    show.listener->heard.clear();
    show.seek(4.6);
    ASSERT_TRUE(until([&] { return !show.listener->heard.empty(); }));
    EXPECT_EQ(show.picture(), 115);
    show.player->play();
    ASSERT_TRUE(until([&] { return show.ends > 0 || show.hasFailed(); }));
    EXPECT_NEAR(show.picture(), 149, 6) << "a busy machine leaves out pictures";
    EXPECT_EQ(bare, 0);
}

/// Jumps between variants, some while playing, each to the very picture.
TEST_F(LineTest, SeeksAmidChangesOfVariantAndStateAllEndAtTheirPicture) {
    constexpr int seeks = 25;
    std::atomic<int> slowness = 0;
    server.misbehaves = [&](const Request& request, Response&) {
        // What comes late is measured as a slow line, and the next segment as a quick one.
        if (!request.path.ends_with(".m3u8") && ++slowness % 2 == 0)
            std::this_thread::sleep_for(std::chrono::milliseconds(40));
        return false;
    };
    for (const auto* path :
         {"ts-variants/index.m3u8", "fmp4-variants/index.m3u8", "aes-variants/index.m3u8"}) {
        Show show(server / path, device);
        ASSERT_TRUE(until([&] { return show.isReady(); }));
        std::mt19937 random(7);
        for (int i = 0; i < seeks; ++i) {
            if (i % 5 == 3) show.player->play();
            if (i % 5 == 0) show.player->pause();
            play(std::chrono::milliseconds(random() % 60));
            show.listener->heard.clear();
            const int picture = static_cast<int>(random() % 149);
            const auto begun = std::chrono::steady_clock::now();
            show.seek((picture + 0.5) / 25);
            ASSERT_TRUE(until([&] { return !show.listener->heard.empty(); })) << path << ' ' << i;
            const int shown = show.picture();
            const auto since = std::chrono::steady_clock::now() - begun;
            // Where it plays the picture moves on before this thread comes to look.
            EXPECT_GE(shown, picture) << path << ' ' << i;
            EXPECT_LE(shown, picture + (i % 5 >= 3 ? 2 + since / 40ms : 0)) << path << ' ' << i;
        }
        for (int i = 0; i < 8 * seeks; ++i) {
            show.seek(5. - i % 40 * 0.1);
            play(i < 40 ? 20ms : 2ms);
        }
        show.player->pause();
        EXPECT_TRUE(until([&] { return std::abs(show.picture() - 27) <= 1; }))
            << path << " " << show.picture() << " at " << show.position();
        // One follows the end of another at once, amid the pipeline's own step to playing, and near
        // the end of the stream.
        for (int i = 0; i < seeks / 3; ++i) {
            show.player->play();
            show.seek(5.7 + static_cast<int>(random() % 200) / 1000.);
            play(std::chrono::milliseconds(random() % 300));
            show.seek(1.1);
            if (i % 2) show.player->pause();
            ASSERT_TRUE(until([&] { return std::abs(show.picture() - 32) <= 8; }))
                << path << ' ' << i << ' ' << show.picture() << " at " << show.position();
        }
    }
}

}  // namespace korvel::tests
