#include <korvel/platform/hls/Playlist.h>

#include <gtest/gtest.h>

namespace korvel::tests {

using namespace platform;
using namespace platform::hls;
using namespace std::chrono_literals;

namespace {

const URL home = *URL::parse("https://host/a/list.m3u8?token=t1");

MediaPlaylist media(const std::string& lines) {
    auto read = readPlaylist("#EXTM3U\n" + lines, home);
    if (const auto* error = std::get_if<NSError>(&read)) ADD_FAILURE() << error->description();
    auto* playlist = std::get_if<MediaPlaylist>(&read);
    return playlist ? *playlist : MediaPlaylist();
}

bool isRefused(const std::string& text) {
    return std::holds_alternative<NSError>(readPlaylist(text, home));
}

}  // namespace

TEST(PlaylistTest, SegmentsHaveTheirTimesNumbersRangesMapsAndKeys) {
    const auto read = media(
        "#EXT-X-TARGETDURATION:4\r\n#EXT-X-MEDIA-SEQUENCE:7\n#EXT-X-DISCONTINUITY-SEQUENCE:3\n"
        "#EXT-X-MAP:URI=\"init, 1.mp4\",BYTERANGE=\"100@0\"\n"
        "#EXT-X-KEY:METHOD=AES-128,URI=\"skd://k?kid=1\",IV=0x0102\n"
        "#EXTINF:2.5,title, with comma\n#EXT-X-BYTERANGE:50@100\nall.mp4\n"
        "#EXTINF:3\n#EXT-X-BYTERANGE:60\nall.mp4   \n"
        "#EXT-X-DISCONTINUITY\n#EXT-X-KEY:METHOD=NONE\n#EXT-X-GAP\n"
        "#EXT-X-SOMETHING-NEW:A=1\n# a comment\n#EXTINF:0.5,\nother.ts\n#EXT-X-ENDLIST\n");
    ASSERT_EQ(read.segments.size(), 3u);
    const auto& [first, second, third] =
        std::tie(read.segments[0], read.segments[1], read.segments[2]);
    EXPECT_EQ(first.number, 7);
    EXPECT_EQ(first.discontinuity, 3);
    EXPECT_EQ(first.map->uri, "init, 1.mp4");
    EXPECT_EQ(first.map->range, (ByteRange{0, 100}));
    EXPECT_EQ(first.key->uri, "skd://k?kid=1");
    EXPECT_EQ(first.key->iv->at(14), 1);
    EXPECT_EQ(first.key->iv->at(15), 2);
    EXPECT_EQ(second.range, (ByteRange{150, 60})) << "goes on where the last one ended";
    EXPECT_EQ(second.start, 2500ms);
    EXPECT_EQ(third.start, 5500ms);
    EXPECT_EQ(third.discontinuity, 4);
    EXPECT_FALSE(third.key);
    EXPECT_TRUE(third.isGap);
    EXPECT_FALSE(third.range);
    EXPECT_TRUE(read.isEnded);
    EXPECT_EQ(read.end(), 6s);
    EXPECT_TRUE(media("#EXT-X-PLAYLIST-TYPE:VOD\n#EXTINF:1,\na\n").isEnded);
    const auto late = media("#EXTINF:1,\na\n#EXT-X-MEDIA-SEQUENCE:9\n#EXTINF:1,\nb\n");
    EXPECT_EQ(late.segments[1].number, 1) << "a number amid the list is none";
}

TEST(PlaylistTest, OfSeveralKeySystemsTheOneThatCanBeOpenedIsTaken) {
    const std::string closed = "#EXT-X-KEY:METHOD=SAMPLE-AES,URI=\"a\",KEYFORMAT=\"x\"\n";
    const std::string open = "#EXT-X-KEY:METHOD=AES-128,URI=\"b\",KEYFORMAT=\"y\"\n";
    for (const auto& tags : {closed + open, open + closed})
        EXPECT_EQ(media(tags + "#EXTINF:1,\ns\n").segments[0].key->uri, "b");
    EXPECT_EQ(media(closed + "#EXTINF:1,\ns\n").segments[0].key->method, "SAMPLE-AES");
}

TEST(PlaylistTest, MasterPlaylistTellsVariantsRenditionsAndDefinitions) {
    const auto read = readPlaylist(
        "\xEF\xBB\xBF#EXTM3U\n#EXT-X-DEFINE:QUERYPARAM=\"token\"\n"
        "#EXT-X-DEFINE:NAME=\"base\",VALUE=\"v/{$token}\"\n"
        "#EXT-X-MEDIA:TYPE=AUDIO,GROUP-ID=\"g\",NAME=\"n\",LANGUAGE=\"de\",URI=\"s.m3u8\","
        "DEFAULT=YES,AUTOSELECT=YES\n"
        "#EXT-X-STREAM-INF:BANDWIDTH=900000,RESOLUTION=1280x720,CODECS=\"avc1.64001f,mp4a.40.2\","
        "AUDIO=\"g\",FRAME-RATE=29.97\n{$base}/720p.m3u8\n"
        "#EXT-X-I-FRAME-STREAM-INF:BANDWIDTH=1,URI=\"i\"\n#EXT-X-STREAM-INF:BANDWIDTH=1\nb\n",
        home);
    const auto& master = std::get<MasterPlaylist>(read);
    ASSERT_EQ(master.variants.size(), 2u);
    EXPECT_EQ(master.variants[0].uri, "v/t1/720p.m3u8");
    EXPECT_EQ(master.variants[0].bandwidth, 900000);
    EXPECT_EQ(master.variants[0].height, 720);
    EXPECT_EQ(master.variants[0].codecs, "avc1.64001f,mp4a.40.2");
    EXPECT_EQ(master.variants[0].audio, "g");
    ASSERT_EQ(master.renditions.size(), 1u);
    EXPECT_TRUE(master.renditions[0].isDefault);
    EXPECT_EQ(master.renditions[0].language, "de");
    const auto child =
        readPlaylist("#EXTM3U\n#EXT-X-DEFINE:IMPORT=\"base\"\n#EXTINF:1,\n{$base}/{$none}.ts\n",
                     home, master.definitions);
    EXPECT_EQ(std::get<MediaPlaylist>(child).segments[0].uri, "v/t1/{$none}.ts");
}

TEST(PlaylistTest, LiveListsGoOnOnTheTimeLineOfTheFormerOne) {
    const auto list = [](int first, int count, const std::string& more = "",
                         const std::string& name = "s") {
        std::string text =
            "#EXT-X-TARGETDURATION:2\n#EXT-X-MEDIA-SEQUENCE:" + std::to_string(first) + "\n" + more;
        for (int i = 0; i < count; ++i)
            text += "#EXTINF:2,\n" + name + "?" + std::to_string(first) + "\n";
        return media(text);
    };
    const auto date = [](const char* time) {
        return std::string("#EXT-X-PROGRAM-DATE-TIME:2026-03-01T") + time + "\n";
    };
    const std::string noon = date("12:00:00Z");
    struct Row {
        const char* what;
        MediaPlaylist old;
        MediaPlaylist fresh;
        std::chrono::milliseconds start;
        std::int64_t discontinuity = 0;
        std::size_t count = 1;
    };
    const auto old = list(10, 3);
    const auto dated = list(10, 3, noon);
    const Row rows[] = {
        {"overlaps", old, list(12, 3), 4s, 0, 3},
        {"follows", old, list(13, 1), 6s},
        {"some were missed", old, list(15, 1), 10s},
        {"some were missed that were shorter", dated, list(15, 1, date("12:00:09.5Z")), 9500ms},
        {"dates that go back tell nothing", dated, list(15, 1, date("11:00:00Z")), 10s},
        {"no date: nothing", dated, list(15, 1, "#EXT-X-PROGRAM-DATE-TIME:2026-13-01T1\n"), 10s},
        {"a date of another age: nothing", dated,
         list(15, 1, "#EXT-X-PROGRAM-DATE-TIME:2199-01-01T00:00:00Z\n"), 10s},
        {"counts its discontinuities anew", old, list(11, 3, "#EXT-X-DISCONTINUITY-SEQUENCE:5\n"),
         2s, 0, 3},
        {"does not tell of those that have gone", list(10, 3, "#EXT-X-DISCONTINUITY-SEQUENCE:7\n"),
         list(15, 1), 10s, 7},
        {"has begun anew", old, list(0, 2), 6s, 1, 2},
        {"likewise, at a known time", dated, list(0, 2, date("13:00:10+01:00")), 10s, 1, 2},
        {"has begun anew amid known numbers", old, list(10, 2, "", "t"), 6s, 1, 2},
        {"of another machine, which is behind", old, list(9, 3), 0s, 0, 3},
    };
    for (const Row& row : rows) {
        const auto now = merged(row.old, row.fresh);
        EXPECT_EQ(now.segments[0].start, row.start) << row.what;
        EXPECT_EQ(now.segments[0].discontinuity, row.discontinuity) << row.what;
        EXPECT_EQ(now.segments.size(), row.count) << row.what;
    }
    const Row others[] = {
        {"by number", old, list(11, 4), 2s},
        {"else by their ends", old, list(500, 3), 0s},
        {"by date, whatever the number", dated, list(11, 3, date("17:30:04.0+0530")), 4s},
        {"whose discontinuity is the other's",
         list(10, 3, noon + "#EXT-X-DISCONTINUITY-SEQUENCE:7\n"), list(70, 3, date("11:59:58Z")),
         -2s, 7},
        {"not by dates of another day", dated, list(11, 4, date("02:00:00Z")), 2s},
    };
    for (const Row& row : others) {
        const auto now = aligned(row.old, row.fresh);
        EXPECT_EQ(now.segments[0].start, row.start) << row.what;
        EXPECT_EQ(now.segments[0].discontinuity, row.discontinuity) << row.what;
    }
    EXPECT_EQ(aligned(old, list(500, 1), true).segments[0].start, 0s) << "it has its place";
}

TEST(PlaylistTest, WhatIsBrokenIsRefusedOrPassedOverInBoundedTimeAndMemory) {
    EXPECT_TRUE(isRefused(""));
    EXPECT_TRUE(isRefused("<html>"));
    EXPECT_TRUE(isRefused("#EXTM3U\n"));
    EXPECT_TRUE(isRefused("#EXTM3U\n#EXTINF:1,\n#EXT-X-BYTERANGE:x\ns\n"));
    EXPECT_TRUE(isRefused("#EXTM3U\n#EXTINF:1,\n#EXT-X-BYTERANGE:9223372036854775807@1\ns\n"));
    EXPECT_TRUE(isRefused("#EXTM3U\n#EXT-X-KEY:METHOD=AES-128,URI=\"k\",IV=0xZZ\n"));
    std::string endless = "#EXTM3U\n#EXT-X-TARGETDURATION:1\n";
    for (int i = 0; i < 200'000; ++i) endless += "#EXTINF:1,\ns\n";
    EXPECT_TRUE(isRefused(endless));
    EXPECT_TRUE(isRefused("#EXTM3U\n#EXTINF:1,\n" + std::string(9 << 20, 'a')));

    const auto odd = media(
        "#EXTINF:-5,\na\n#EXTINF:1e300,\nb\n#EXTINF:nan,\nc\n"
        "#EXT-X-MEDIA-SEQUENCE:99999999999999999999\n#EXTINF:1,\nd\n");
    ASSERT_EQ(odd.segments.size(), 4u);
    EXPECT_EQ(odd.end(), 1s);
    std::string growing = "#EXTM3U\n#EXT-X-DEFINE:NAME=\"a\",VALUE=\"" + std::string(60'000, 'x') +
                          "\"\n#EXTINF:1,\n";
    for (int i = 0; i < 10'000; ++i) growing += "{$a}";
    const auto grown = readPlaylist(growing + "\n", home);
    EXPECT_LT(std::get<MediaPlaylist>(grown).segments[0].uri.size(), 100'000u);
}

TEST(PlaylistTest, AddressesAreMadeValidAndNeverLeadOutOfTheWebOrDownFromHTTPS) {
    const std::pair<const char*, const char*> rows[] = {
        {"s 1|\xC3\xBC.ts", "https://host/a/s%201%7C%C3%BC.ts"},
        {"100%.ts?a=%20", "https://host/a/100%25.ts?a=%20"},
        {"/x", "https://host/x"},
        {"//other/x", "https://other/x"},
        {"https://o/y", "https://o/y"}};
    for (const auto& [reference, expected] : rows) {
        const auto url = resolved(home, reference);
        ASSERT_TRUE(url) << reference;
        EXPECT_EQ(url->absoluteString(), expected);
        EXPECT_TRUE(mayLead(home, *url));
    }
    for (const char* bad : {"file:///etc/passwd", "fd:3", "udp://h/", "rtsp://h/x", "http://host/x",
                            "data:,x", "javascript:x", "https:///x"}) {
        const auto url = resolved(home, bad);
        EXPECT_TRUE(!url || !mayLead(home, *url)) << bad;
    }
    EXPECT_TRUE(mayLead(*URL::parse("http://h/"), *URL::parse("HTTP://h/x")));
}

}  // namespace korvel::tests
