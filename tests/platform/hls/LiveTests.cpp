#include "platform/hls/Rig.h"

#include <set>

namespace korvel::tests {

/// Streams of which a window is there, five segments of two seconds long. The test slides it.
class LiveTest : public PresentationTest {
protected:
    /// One of a stream's playlists.
    struct List {
        std::string base;
        int behind = 0;  ///< segments fewer than others have
        int counts = 0;  ///< from
        bool isDated = false;
        Segment content{};
    };
    std::vector<List> lists{{"https://h/"}};
    std::string ending;
    static constexpr int window = 5;

    static std::string nameOf(const List& list, int segment) {
        return list.base + std::to_string(segment) + ".ts";
    }
    /// All that there is up to this segment.
    void reveal(int newest) {
        for (const List& list : lists) {
            const int last = newest - list.behind;
            const int first = std::max(last - window + 1, 0);
            std::string text = "#EXTM3U\n#EXT-X-TARGETDURATION:2\n#EXT-X-MEDIA-SEQUENCE:" +
                               std::to_string(list.counts + first) + "\n";
            if (list.isDated) {
                char date[64];
                (void)std::snprintf(date, sizeof date, "2026-03-01T%02d:%02d:%02d.000Z\n",
                                    first / 1800, first / 30 % 60, first % 30 * 2);
                text += "#EXT-X-PROGRAM-DATE-TIME:" + std::string(date);
            }
            for (int i = first; i <= last; ++i) {
                text += "#EXTINF:2,\n" + std::to_string(i) + ".ts\n";
                Segment content = list.content;
                content.start = 2. * i;
                server->put(nameOf(list, i), {.body = streams::transportSegment(content)});
            }
            // Nobody deletes at once what has just left the list.
            if (first >= window) server->put(nameOf(list, first - window), {.status = 404});
            server->put(list.base + "list.m3u8", text + ending);
        }
    }
    double newestPicture() const {
        const auto samples = output->lane(Kind::picture).samples;
        return samples.empty() ? -1 : static_cast<double>(samples.back().pts->count()) / 1e9;
    }
    /// That pictures are there up to the end of this segment.
    bool hasCome(int segment) {
        return until([&] { return newestPicture() > 2 * (segment + 1) - 0.05; });
    }
    /// So much has been played, and the queues are empty.
    void playUpTo(std::chrono::nanoseconds time) {
        output->at = time;
        for (const Kind kind : {Kind::picture, Kind::sound}) {
            presentation->taken(kind, SIZE_MAX);
            presentation->starved(kind);
        }
    }
    /// That each picture of this time came, those that two variants hold twice at most.
    void expectEveryPicture(double from, double to, const std::string& what) const {
        std::set<std::int64_t> seen;
        for (const auto& each : output->lane(Kind::picture).samples)
            seen.insert(std::llround(static_cast<double>(each.pts->count()) / 40e6));
        ASSERT_FALSE(seen.empty());
        EXPECT_EQ(*seen.begin(), std::llround(from * 25)) << what;
        EXPECT_EQ(*seen.rbegin(), std::llround(to * 25) - 1) << what;
        EXPECT_EQ(seen.size(), static_cast<std::size_t>(std::llround((to - from) * 25))) << what;
    }
};

TEST_F(LiveTest, VariantsThatAreNotInStepChangeAtTheEdgeWithNothingLost) {
    const std::string line = "#EXT-X-STREAM-INF:BANDWIDTH=";
    server->put("https://h/m.m3u8",
                "#EXTM3U\n" + line + "60000\n1/list.m3u8\n" + line + "120000\n2/list.m3u8\n");
    struct Row {
        const char* what;
        List better;
    };
    const Row rows[] = {
        {"in step", {.base = "https://h/2/"}},
        {"one behind", {.base = "https://h/2/", .behind = 1}},
        {"two behind", {.base = "https://h/2/", .behind = 2}},
        {"one before", {.base = "https://h/2/", .behind = -1}},
        {"counts otherwise", {.base = "https://h/2/", .behind = 1, .counts = 700}},
        {"dated", {.base = "https://h/2/", .behind = 2, .counts = 2, .isDated = true}},
    };
    for (const Row& row : rows) {
        lists = {{.base = "https://h/1/", .isDated = row.better.isDated}, row.better};
        ending.clear();
        server->speed = 80'000;
        lets = true;
        start = 4s;
        reveal(4);
        open("https://h/m.m3u8");
        ASSERT_TRUE(hasCome(4)) << row.what;
        for (int newest = 5; newest < 20; ++newest) {
            server->speed = newest < 8 || newest > 14 ? 80'000 : 8e6;
            reveal(newest);
            playUpTo(std::chrono::seconds(2 * (newest + 1) - 6));
            ASSERT_TRUE(hasCome(newest - std::max(row.better.behind, 0))) << row.what << newest;
        }
        ending = "#EXT-X-ENDLIST\n";
        reveal(20);
        ASSERT_TRUE(ends()) << row.what;
        const auto log = presentation->accessLog();
        ASSERT_GE(log.size(), 3u) << row.what << ": there and back";
        EXPECT_EQ(log[1].URI, "https://h/2/list.m3u8");
        const double end =
            log.back().URI == "https://h/2/list.m3u8" ? 42 - 2 * row.better.behind : 42;
        expectEveryPicture(4, end, row.what);
        expectSound(4, end);
    }
}

TEST_F(LiveTest, AWindowThatSlidPastWhoPausedOrSeeksIsGoneOnWithinIt) {
    server->put("https://h/m.m3u8",
                "#EXTM3U\n#EXT-X-MEDIA:TYPE=AUDIO,GROUP-ID=\"a\",NAME=\"n\",URI=\"s/list.m3u8\","
                "DEFAULT=YES\n#EXT-X-STREAM-INF:BANDWIDTH=9,AUDIO=\"a\"\nv/list.m3u8\n");
    const List picture{.base = "https://h/v/", .content = {.hasSound = false}};
    const List sound{.base = "https://h/s/", .behind = 1, .content = {.hasPicture = false}};
    for (const bool isApart : {false, true}) {
        lists = isApart ? std::vector{picture, sound} : std::vector{List{"https://h/"}};
        start = 4s;
        reveal(4);
        open(isApart ? "https://h/m.m3u8" : "https://h/list.m3u8");
        ASSERT_TRUE(hasCome(4));
        ASSERT_TRUE(until([&] { return output->hasSaid("enough"); }));
        const auto goesOnAt = [&](const std::string& time) {
            ASSERT_TRUE(until([&] { return output->hasSaid("flush " + time); })) << time;
            output->at = std::chrono::seconds(std::stoi(time));
            presentation->setRate(1);  // by which loaders learn of the position
            ASSERT_TRUE(until([&] { return output->hasSaid("begin p " + time); })) << time;
            ASSERT_TRUE(until([&] { return output->hasSaid("begin s " + time); })) << time;
            output->forgetLog();
        };
        reveal(104);
        const auto asked = server->asked().size();
        ASSERT_TRUE(until([&] { return server->asked().size() > asked; }));
        EXPECT_FALSE(output->hasSaid("flush 202")) << "there is something left to play";
        output->forgetLog();
        playUpTo(9900ms);
        goesOnAt("202");
        ASSERT_TRUE(hasCome(104));
        expectEveryPicture(202, 210, "the rest of the window");

        presentation->seek(50s);
        ASSERT_TRUE(until([&] { return output->hasSaid("flush 50"); }));
        goesOnAt("202");
        presentation->seek(std::chrono::nanoseconds::max());
        goesOnAt("204");
        presentation->seek(210s);
        output->at = 210s;
        reveal(105);
        ASSERT_TRUE(hasCome(105)) << "so little ahead is waited for";
        EXPECT_FALSE(output->error());
        reveal(205);
        playUpTo(212s);
        goesOnAt("404");
        ASSERT_TRUE(hasCome(205)) << "again, by the same estimate for all";
        ASSERT_TRUE(until([&] {
            return output->lane(Kind::sound).samples.back().pts > (isApart ? 410s : 412s) - 50ms;
        }));
        expectSound(404, isApart ? 410 : 412);
        ending = "#EXT-X-ENDLIST\n";
        reveal(306);
        playUpTo(412s);
        goesOnAt("604");
        playUpTo(608s);
        ASSERT_TRUE(ends());
        EXPECT_EQ(presentation->duration(), 614s);
        expectEveryPicture(604, 614, "all that was left when it ended");
        ending.clear();
    }
}

TEST_F(LiveTest, ListsThatStandStillGoBackOrBeginAnewLoseAndRepeatNothing) {
    reveal(4);
    open("https://h/list.m3u8");
    ASSERT_TRUE(hasCome(4));
    timers.advance(1min);
    const auto asked = server->count("https://h/list.m3u8");
    ASSERT_TRUE(until([&] { return server->count("https://h/list.m3u8") > asked + 3; }));
    for (const int newest : {6, 5, 7, 4, 8}) {
        const auto before = server->count("https://h/list.m3u8");
        reveal(newest);
        ASSERT_TRUE(until([&] { return server->count("https://h/list.m3u8") > before + 1; }));
    }
    ASSERT_TRUE(hasCome(8));
    expectEveryPicture(4, 18, "whatever state the list was in");
    expectSound(4, 18);
    EXPECT_EQ(server->count("https://h/8.ts"), 1u);
    // The packager was started again: numbers and times begin anew.
    lists[0].base = "https://h/again/";
    reveal(1);
    server->put("https://h/list.m3u8",
                "#EXTM3U\n#EXT-X-TARGETDURATION:2\n#EXTINF:2,\nagain/0.ts\n#EXTINF:2,\nagain/1.ts\n"
                "#EXT-X-ENDLIST\n");
    ASSERT_TRUE(ends());
    EXPECT_TRUE(output->hasSaid("discontinuity p"));
    expectEveryPicture(4, 22, "what was recorded anew follows");
}

}  // namespace korvel::tests
