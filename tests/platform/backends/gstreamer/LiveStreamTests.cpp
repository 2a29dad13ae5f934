#include "platform/backends/gstreamer/Fixture.h"
#include "platform/backends/gstreamer/FormServer.h"
#include "platform/backends/gstreamer/Senses.h"

#include <array>
#include <cmath>

namespace korvel::tests {

using namespace platform;

/// Twelve seconds of another packager, of which the server shows some, segments of a second, as the
/// one who looks at them gets on: no machine is too slow for that.
class LiveStreamTest : public GStreamerTest {
protected:
    struct Stream {
        std::string form;
        int behind = 0;  ///< segments fewer that the better variant has
        int counts = 0;  ///< from which it counts
        std::atomic<int> newest = 4;
        std::atomic<int> window = 5;
        std::unique_ptr<Show> show{};
        std::vector<int> pictures{};

        std::string recorder{};
        int longestStep() const {
            int longest = 0;
            for (std::size_t i = 1; i < pictures.size(); ++i)
                longest = std::max(longest, pictures[i] - pictures[i - 1]);
            return longest;
        }
    };
    std::array<Stream, 4> streams{Stream{"live-ts", 1, 100}, Stream{"live-fmp4", 0, 3},
                                  Stream{"live-ts-apart", 1, 0}, Stream{"live-fmp4-apart", 1, 7}};
    FormServer server{KORVEL_FORMS};
    static constexpr int last = 11;

    void SetUp() override {
        showLatePictures();
        server.misbehaves = [this](const auto& request, auto& response) {
            for (const Stream& stream : streams) {
                for (const std::string list : {"0", "1", "2"}) {
                    const auto path = "/" + stream.form + "/" + list + ".m3u8";
                    if (request.path != path) continue;
                    const bool isBetter = list == "1";
                    response.set_content(part(contentOf(path), stream.window,
                                              stream.newest - (isBetter ? stream.behind : 0),
                                              isBetter ? stream.counts : 0),
                                         "application/vnd.apple.mpegurl");
                    return true;
                }
            }
            return false;
        };
        for (Stream& each : streams) {
            static int recorders = 0;
            each.recorder = "liverecorder" + std::to_string(++recorders);
            registerSoundRecorder(each.recorder);
            device.mediaEngine = makeMediaEngineGStreamer({.audioSink = each.recorder});
            each.show = std::make_unique<Show>(server / (each.form + "/index.m3u8"), device);
            each.show->player->observeFrames(
                each.show->owner, [&each] { each.pictures.push_back(each.show->picture()); });
        }
        ASSERT_TRUE(untilAll([](Stream& each) { return each.show->isReady(); }));
    }
    /// Of a whole playlist, up to the segment `newest`.
    static std::string part(const std::string& whole, int window, int newest, int counts) {
        const int first = std::max(newest - window + 1, 0);
        std::istringstream lines(whole);
        std::string head;
        std::string segments;
        std::string segment;
        int number = 0;
        for (std::string line; std::getline(lines, line);) {
            if (line.starts_with("#EXT-X-MEDIA-SEQUENCE") || line == "#EXT-X-ENDLIST") continue;
            const bool isOfSegment = line.starts_with("#EXTINF") || line.find("DATE") != line.npos;
            (line[0] != '#' || isOfSegment ? segment : head) += line + '\n';
            if (line[0] == '#') continue;
            if (number >= first && number <= newest) segments += segment;
            segment.clear();
            ++number;
        }
        return head + "#EXT-X-MEDIA-SEQUENCE:" + std::to_string(counts + first) + '\n' + segments +
               (newest >= last ? "#EXT-X-ENDLIST\n" : "");
    }
    bool untilAll(const std::function<bool(Stream&)>& done) {
        return until([&] { return std::all_of(streams.begin(), streams.end(), done); }, 60s);
    }
    /// Shows more the further it is played.
    bool playUntilAll(const std::function<bool(Stream&)>& done) {
        for (Stream& each : streams) each.show->player->play();
        return untilAll([&](Stream& asked) {
            for (Stream& each : streams) {
                const int newest = static_cast<int>(each.show->position()) + 3;
                // What is behind has come in the end, too.
                each.newest =
                    newest >= last ? last + each.behind : std::max<int>(newest, each.newest);
            }
            return done(asked);
        });
    }
};

TEST_F(LiveStreamTest, PlaysAtTheEdgeAcrossVariantsOutOfStepUntilItEnds) {
    for (Stream& each : streams) {
        EXPECT_NEAR(each.show->position(), 2, 0.1)
            << each.form << ": three segments before its end";
        EXPECT_TRUE(std::isnan(CMTimeGetSeconds(each.show->item->duration()))) << each.form;
    }
    ASSERT_TRUE(playUntilAll([](Stream& each) { return each.show->ends > 0; }));
    for (Stream& each : streams) {
        EXPECT_EQ(each.pictures.front(), 50) << each.form;
        EXPECT_NEAR(each.pictures.back(), 299, 5) << each.form;
        EXPECT_TRUE(std::is_sorted(each.pictures.begin(), each.pictures.end())) << each.form;
        EXPECT_LE(each.longestStep(), 12) << each.form;
        EXPECT_GE(each.show->item->accessLog().size(), 2u) << each.form << " has changed";
        const auto sound = recordedBy(each.recorder);
        EXPECT_LT(longestGap(sound, 2, 11.9), 0.05) << each.form;
        for (int second = 2; second < 12; ++second)
            EXPECT_NEAR(tone(sound, second), 300 + 100 * second, 15) << each.form << ' ' << second;
    }
}

TEST_F(LiveStreamTest, GoesOnWithinTheWindowThatSlidPastWhoPaused) {
    ASSERT_TRUE(playUntilAll([](Stream& each) { return each.show->position() > 2.5; }));
    for (Stream& each : streams) {
        each.show->player->pause();
        each.window = 2;
        each.newest = last - 1;
    }
    play(1500ms);
    ASSERT_TRUE(playUntilAll([](Stream& each) { return each.show->ends > 0; }));
    for (Stream& each : streams) {
        EXPECT_FALSE(each.show->hasFailed()) << each.form;
        EXPECT_NEAR(each.pictures.back(), 299, 5) << each.form;
        EXPECT_TRUE(std::is_sorted(each.pictures.begin(), each.pictures.end())) << each.form;
        EXPECT_GT(each.longestStep(), 25) << each.form << " has left out what was gone";
        EXPECT_NEAR(tone(recordedBy(each.recorder), 11), 1400, 15) << each.form;
    }
}

}  // namespace korvel::tests
