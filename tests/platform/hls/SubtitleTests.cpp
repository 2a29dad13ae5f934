#include "platform/hls/Rig.h"

#include <korvel/platform/hls/CuePlacing.h>
#include <korvel/platform/hls/CueTrack.h>
#include <korvel/platform/hls/SubtitleChoice.h>
#include <korvel/platform/hls/WebVTT.h>

namespace korvel::tests {

using namespace platform;
using namespace platform::hls;

namespace {

/// "1-2.5 Hello /world/ top .94 .25+.5 end": times, styles, and what is not usual of the place.
std::string told(const AVSubtitleCue& cue) {
    std::ostringstream out;
    const auto seconds = [](auto time) { return static_cast<double>(time.count()) / 1e9; };
    out << seconds(cue.start) << '-' << seconds(cue.end) << ' ';
    for (const auto& run : cue.runs) {
        const std::string marks = std::string(run.isBold ? "*" : "") + (run.isItalic ? "/" : "") +
                                  (run.isUnderlined ? "_" : "");
        out << marks << run.text << marks;
    }
    if (cue.top) out << " top " << *cue.top;
    if (cue.center != 0.5 || cue.width != 1) out << ' ' << cue.center << '+' << cue.width;
    if (cue.alignment == AVSubtitleCue::Alignment::start) out << " start";
    if (cue.alignment == AVSubtitleCue::Alignment::end) out << " end";
    return out.str();
}

std::string told(const std::vector<AVSubtitleCue>& cues) {
    std::string all;
    for (const auto& each : cues) all += (all.empty() ? "" : "|") + told(each);
    return all;
}

std::string read(const std::string& text) {
    const auto file = readWebVTT(text);
    return file ? told(file->cues) : "none";
}

/// A map of a thousand units a second, and a segment of which nothing is said for one, then "a" and
/// "b" for two, then "b" for one.
std::pair<Data, Data> fragments(std::uint32_t from) {
    using namespace streams;
    const auto cue = [](const char* text, const char* settings) {
        return box("vttc", joined({box("sttg", bytesOf(settings)), box("payl", bytesOf(text))}));
    };
    const Data samples[] = {box("vtte", {}), joined({cue("a", "line:10%"), cue("<i>b</i>", "")}),
                            cue("<i>b</i>", "")};
    Data run = numbers({0x301, 3, 0});
    for (std::size_t i = 0; i < 3; ++i)
        append(run,
               numbers({i == 1 ? 2000U : 1000U, static_cast<std::uint32_t>(samples[i].size())}));
    const auto moof = [&] {
        return box("moof",
                   box("traf", joined({box("tfhd", numbers({0x20000, 7})),
                                       box("tfdt", numbers({0, from})), box("trun", run)})));
    };
    run[11] = static_cast<std::uint8_t>(moof().size() + 8);
    const Data head = joined({numbers({0, 0}), {'t', 'e', 'x', 't'}, Data(12, 0)});
    const Data entry = joined({numbers({0, 1}), box("wvtt", Data(8, 0))});
    const Data media = joined({box("mdhd", numbers({0, 0, 0, 1000, 0, 0})), box("hdlr", head),
                               box("minf", box("stbl", box("stsd", entry)))});
    const Data track =
        joined({box("tkhd", joined({numbers({0, 0, 0, 7}), Data(68, 0)})), box("mdia", media)});
    return {box("moov", box("trak", track)),
            joined({moof(), box("mdat", joined({samples[0], samples[1], samples[2]}))})};
}

}  // namespace

TEST(WebVTTTest, FilesAreReadAsTheyAreWritten) {
    const std::pair<std::string, std::string> rows[] = {
        {"\xEF\xBB\xBFWEBVTT - title\r\nKind: x\r\n\r\n7\r\n00:01.000 --> 00:02.500\r\na\r\nb\r\n",
         "1-2.5 a\nb"},
        {"WEBVTT\r\r00:01.000 --> 00:02.000\ra\r\r2:00:01,5 -->10:59:59.9999\rb",
         "1-2 a|7201.5-39600 b"},
        {"WEBVTT\n00:01.0-->00:02.0\na\n00:02.0-->00:03.0\nb", "1-2 a|2-3 b"},
        {"WEBVTT\n\nNOTE x\ny\n\nSTYLE\n::cue { }\n\nREGION\nid:x\n\n00:01.0 --> 00:02.0\na",
         "1-2 a"},
        {"WEBVTT\n\n00:02.0 --> 00:01.0\nback\n\n0:61.0 --> 99:00.0\nx\n\n1 --> 2\nx\n\n"
         "00:01.0 --> 00:02.0\n \n<b></b>\n\n--> 00:01.0\nx\n\n00:05.0 --> 00:06.0\ngood",
         "5-6 good"},
        {"WEBVTT", ""},
        {"WEBVTTX\n\n00:01.0 --> 00:02.0\na", "none"},
        {"", "none"},
        {"#EXTM3U\n#EXTINF:1,\na.vtt\n", "none"},
        {"<html>WEBVTT</html>", "none"}};
    for (const auto& [text, cues] : rows) EXPECT_EQ(read(text), cues) << text;
    const auto cue = [](const std::string& settings, const std::string& text) {
        const auto all = read("WEBVTT\n\n00:00.0 --> 00:01.0 " + settings + "\n" + text + "\n");
        return all.empty() ? all : all.substr(4);
    };
    const std::pair<std::string, std::string> words[] = {
        {"<b.x>a</b> <i>b<u>c</u></i></i> <c.yellow>d</c><v Ann>e</v><00:00:01.000>f",
         "*a* /b//_c/_ def"},
        {"<lang en>a</lang> <ruby>b<rt>c</rt></ruby>", "a bc"},
        {"&amp;&lt;&gt;&quot;&#39;&#x41;&#xD800;&#0;&no;& &nbsp;.&lrm;&rlm;",
         "&<>\"'A&#xD800;&#0;&no;& \xC2\xA0.\xE2\x80\x8E\xE2\x80\x8F"},
        {"a\xFF\x01 b <unclosed", "a\xEF\xBF\xBD b"},
        {std::string(5000, 'x'), std::string(4096, 'x')}};
    for (const auto& [text, shown] : words) EXPECT_EQ(cue("", text), shown) << text;
    const std::pair<std::string, std::string> places[] = {
        {"line:0", "a top 0"},
        {"line:-1", "a"},
        {"line:-2", "a top 0.88"},
        {"line:99", "a top 0.94"},
        {"line:10%", "a top 0.1"},
        {"line:50%,center", "a top 0.47"},
        {"line:100%,end", "a top 0.94"},
        {"align:left", "a start"},
        {"align:right size:40%", "a 0.8+0.4 end"},
        {"position:10% align:start", "a 0.55+0.9 start"},
        {"position:25% size:80%", "a 0.25+0.5"},
        {"position:90%,line-right size:20%", "a 0.8+0.2"},
        {"vertical:rl line:3 align:end", "a end"},
        {"position:0% size:900% line:x% region:r align:up :", "a"}};
    for (const auto& [settings, shown] : places) EXPECT_EQ(cue(settings, "a"), shown) << settings;
}

TEST(WebVTTTest, CuesOfFragmentsLastAsLongAsTheirSamples) {
    const auto [initialization, segment] = fragments(10'000);
    const auto file = readFragmentedWebVTT(initialization, segment);
    ASSERT_TRUE(file && file->map);
    EXPECT_EQ(told(file->cues), "11-13 a top 0.1|11-13 /b/|13-14 /b/");
    EXPECT_FALSE(readFragmentedWebVTT(streams::initialization(), segment)) << "no such track";
    for (std::size_t cut = 0; cut < segment.size(); ++cut)
        readFragmentedWebVTT(initialization, std::span(segment).first(cut));
}

TEST(WebVTTTest, WhateverIsSentIsReadInBoundedTimeAndMemory) {
    const std::string one = "00:01.0 --> 00:02.0\n<b>a</b>c\n\n";
    std::string many;
    for (int i = 0; i < 1'000'000; ++i) many += one;
    const auto file = readWebVTT("WEBVTT\n\n" + many);
    ASSERT_TRUE(file);
    EXPECT_EQ(file->cues.size(), 10'000u);
    EXPECT_EQ(CueTrack(file->cues).at(1s).size(), 1u);
    for (const char each : {'<', '&', ':', ' ', '\n'}) {
        const std::string endless(1'000'000, each);
        const auto rest = readWebVTT("WEBVTT\n\n00:00.0 --> 00:01.0 " + endless + "\n" + endless);
        EXPECT_TRUE(rest && rest->cues.size() <= 1) << each;
    }
}

TEST(CueTest, TimesAreTheStreamsHoweverTheyAreWritten) {
    constexpr auto wrap = std::chrono::nanoseconds((std::int64_t{1} << 33) * 100'000 / 9);
    struct Row {
        const char* what;
        std::string map;
        std::chrono::nanoseconds container;  ///< of the first picture
        int segment;                         ///< of six seconds
        std::string cue;
        std::chrono::nanoseconds start;
    };
    const std::string usual = "MPEGTS:900000,LOCAL:00:00:00.000";
    const Row rows[] = {
        {"a map", usual, 10s, 1, "00:07.000", 7s},
        {"the other way round", "LOCAL:01:00.000, MPEGTS:900000", 10s, 0, "01:02.000", 2s},
        {"numbers end", "MPEGTS:8589844592,LOCAL:00:00.000", wrap - 1s, 0, "00:03.000", 3s},
        {"a map that is not meant", usual, 0s, 0, "00:02.000", 2s},
        {"no map: the playlist's time", "", 1400ms, 1, "00:07.000", 7s},
        {"a broken one", "MPEGTS:x", 1400ms, 1, "00:07.000", 7s},
        {"no map: the containers' time", "", 1000s, 1, "16:47.000", 7s},
        {"no map: anew with each segment", "", 1000s, 4, "00:01.000", 25s}};
    for (const Row& row : rows) {
        Timeline timeline;
        timeline.shift({.container = row.container, .wrap = wrap, .duration = 6s});
        const Segment segment{.start = 6s * row.segment, .duration = 6s};
        auto file = readWebVTT("WEBVTT\nX-TIMESTAMP-MAP=" + row.map + "\n\n" + row.cue +
                               " --> 59:00.000\na\n");
        ASSERT_TRUE(file && file->cues.size() == 1);
        file->cues[0].end = file->cues[0].start + 1s;
        placeCues(*file, segment, 0s, timeline);
        EXPECT_LT(std::chrono::abs(file->cues[0].start - row.start), 100us)
            << row.what << ": " << told(file->cues);
    }
}

TEST(CueTest, WhatSegmentsRepeatOrPartIsShownOnceAndTheNextOneIsKnown) {
    const auto cue = [](auto start, auto end, const char* text) {
        return AVSubtitleCue{.start = start, .end = end, .runs = {{text}}};
    };
    const CueTrack track({cue(5s, 8s, "b"), cue(1s, 4s, "a"), cue(5s, 8s, "b"),
                          cue(8001ms, 9s, "b"), cue(10s, 11s, "b"), cue(0s, 20s, "long")});
    EXPECT_EQ(told(track.at(0s)), "0-20 long|1-4 a");
    EXPECT_EQ(told(track.at(4s)), "0-20 long|5-9 b") << "the end is without it";
    EXPECT_EQ(told(track.at(8500ms)), "0-20 long|5-9 b|10-11 b");
    EXPECT_EQ(told(track.at(20s)), "");
    EXPECT_TRUE(CueTrack().at(0s).empty());
}

TEST(SubtitleChoiceTest, LanguagesAreFoundAmongThoseThatMayBeChosenSo) {
    const std::string text =
        "#EXTM3U\n#EXT-X-MEDIA:TYPE=CLOSED-CAPTIONS,GROUP-ID=\"c\",NAME=\"cc\",INSTREAM-ID="
        "\"CC1\"\n";
    const auto line = [](const char* group, const char* name, const char* more) {
        return std::string("#EXT-X-MEDIA:TYPE=SUBTITLES,GROUP-ID=\"") + group + "\",NAME=\"" +
               name + "\"," + more + "\n";
    };
    const auto playlist = readPlaylist(
        text + line("s", "fr", "LANGUAGE=\"fr\",AUTOSELECT=YES,FORCED=YES,URI=\"forced\"") +
            line("s", "fr", "LANGUAGE=\"fr\",AUTOSELECT=YES,URI=\"fr\"") +
            line("t", "fr", "LANGUAGE=\"fr\",URI=\"fr2\"") +
            line("s", "de", "LANGUAGE=\"de\",AUTOSELECT=NO,URI=\"de\"") +
            line("s", "at", "LANGUAGE=\"de-AT\",DEFAULT=YES,URI=\"at\"") +
            line("s", "evil", "LANGUAGE=\"it\",AUTOSELECT=YES,URI=\"http://h/it\"") +
            line("u", "unnamed", "LANGUAGE=\"es\",AUTOSELECT=YES,URI=\"es\"") +
            "#EXT-X-STREAM-INF:BANDWIDTH=1,SUBTITLES=\"s\",CLOSED-CAPTIONS=\"c\"\n1\n"
            "#EXT-X-STREAM-INF:BANDWIDTH=2,SUBTITLES=\"t\"\n2\n",
        *URL::parse("https://h/m.m3u8"));
    const auto& master = std::get<MasterPlaylist>(playlist);
    const SubtitleChoice choice(master, *URL::parse("https://h/m.m3u8"),
                                {&master.variants[0], &master.variants[1]});
    const auto options = choice.options();
    ASSERT_EQ(options.size(), 4u);
    EXPECT_EQ(choice.playlists(1).size(), 2u) << "one per group";
    using Mode = AVSubtitleSelection::Mode;
    const auto chosen = [&](AVSubtitleSelection selection, std::vector<std::string> languages) {
        return choice.chosen(selection, languages).value_or(99);
    };
    EXPECT_EQ(chosen({Mode::byLanguage}, {"es", "it", "fr-CA", "de"}), 1u) << "nor those forced";
    EXPECT_EQ(chosen({Mode::byLanguage}, {"de-CH"}), 3u) << "not one that is not to be chosen so";
    EXPECT_EQ(chosen({Mode::byLanguage}, {"es"}), 99u);
    EXPECT_EQ(chosen({Mode::option, options[2]}, {"fr"}), 2u);
    EXPECT_EQ(chosen({Mode::option, {"de", "fr"}}, {"fr"}), 99u);
    EXPECT_EQ(chosen({}, {"fr"}), 99u);
}

/// A stream of 30 segments of two seconds, with subtitles in as many, each of a cue "cue 7".
class SubtitleTest : public PresentationTest {
protected:
    SubtitleTest() {
        start = 0s;
        putList("https://h/v/", segments(30));
        for (const char* base : {"https://h/s/", "https://h/t/"}) putWords(base, 0, 30, true);
        putMaster("");
    }
    void putMaster(const std::string& more) {
        const auto tag = [](const char* group, const char* uri) {
            return std::string("#EXT-X-MEDIA:TYPE=SUBTITLES,AUTOSELECT=YES,NAME=\"German\",") +
                   "LANGUAGE=\"de\",GROUP-ID=\"" + group + "\",URI=\"" + uri + "/list.m3u8\"\n";
        };
        server->put("https://h/m.m3u8",
                    "#EXTM3U\n" + more + tag("s", "s") + tag("t", "t") +
                        "#EXT-X-STREAM-INF:BANDWIDTH=90000,SUBTITLES=\"s\"\nv/list.m3u8\n"
                        "#EXT-X-STREAM-INF:BANDWIDTH=99000,SUBTITLES=\"t\"\nv/list.m3u8\n");
    }
    void putWords(const std::string& base, int first, int count, bool isEnded) {
        std::string text =
            "#EXTM3U\n#EXT-X-TARGETDURATION:2\n#EXT-X-MEDIA-SEQUENCE:" + std::to_string(first) +
            "\n";
        for (int i = first; i < first + count; ++i) {
            const auto name = std::to_string(i);
            const auto at = [&](int second) {
                return (second < 10 ? "00:0" : "00:") + std::to_string(second) + ".000";
            };
            text += "#EXTINF:2,\n" + name + "\n";
            server->put(base + name, "WEBVTT\nX-TIMESTAMP-MAP=MPEGTS:9000000,LOCAL:00:00.000\n\n" +
                                         at(2 * i) + " --> " + at(2 * i + 1) + "\ncue " + name);
        }
        server->put(base + "list.m3u8", text + (isEnded ? "#EXT-X-ENDLIST\n" : ""));
    }
    void select(AVSubtitleSelection::Mode mode) { presentation->selectSubtitles({mode, {}}); }
    std::string said(std::chrono::nanoseconds at) const {
        auto cues = presentation->cues(at);
        std::erase_if(cues, [&](const auto& each) { return each.start > at; });
        return told(cues);
    }
    bool says(int number) {
        return until([&] {
            return said(2s * number + 500ms) == std::to_string(2 * number) + '-' +
                                                    std::to_string(2 * number + 1) + " cue " +
                                                    std::to_string(number);
        });
    }
    std::size_t asked(const std::string& name) const { return server->count("https://h/" + name); }
    using Mode = AVSubtitleSelection::Mode;
};

TEST_F(SubtitleTest, AreLoadedAroundThePositionWhileTheyAreSelected) {
    languages = {"en", "de-AT"};
    open("https://h/m.m3u8");
    ASSERT_TRUE(until([&] { return output->hasSaid("enough"); }));
    EXPECT_EQ(asked("s/list.m3u8"), 0u) << "off by default";
    ASSERT_EQ(presentation->subtitles().options.size(), 1u);
    EXPECT_FALSE(presentation->subtitles().selected);
    select(Mode::byLanguage);
    EXPECT_EQ(presentation->subtitles().selected, 0u);
    ASSERT_TRUE(says(0) && says(14));
    EXPECT_EQ(asked("s/16"), 0u) << "no more than comes soon";
    output->at = 20s;
    presentation->starved(Kind::picture);
    ASSERT_TRUE(says(24));

    server->change("https://h/s/27", [](auto& answer) { answer.isHeld = true; });
    output->at = 26s;
    presentation->starved(Kind::picture);
    ASSERT_TRUE(until([&] { return asked("s/27") == 1; }));
    output->at = 59s;
    presentation->seek(59s);
    ASSERT_TRUE(says(29)) << "what is held and not wanted holds nothing up";
    EXPECT_EQ(asked("s/0"), 1u) << "nothing is asked for twice";
    ASSERT_TRUE(until([&] { return asked("s/27") == 2; })) << "its words may go on until there";

    const auto before = std::chrono::steady_clock::now();
    select(Mode::none);
    EXPECT_EQ(told(presentation->cues(0s)), "");
    select(Mode::byLanguage);
    ASSERT_TRUE(until([&] { return asked("s/27") == 3; }));
    presentation->close();
    EXPECT_LT(std::chrono::steady_clock::now() - before, 5s);
    EXPECT_EQ(reason(), "none");
    EXPECT_TRUE(presentation->errorLog().empty());
}

TEST_F(SubtitleTest, NoFailureOfTheirsTouchesTheStreamAndAllAreTriedAgain) {
    server->change("https://h/s/list.m3u8", [](auto& answer) { answer.status = 404; });
    const Data bomb(5'000'000, ' ');
    const std::pair<const char*, FakeServer::Answer> rows[] = {
        {"0", {.status = 503}},
        {"1", {.body = bytesOf("#EXTM3U\n#EXTINF:1,\n1\n")}},
        {"2", {.body = bytesOf("<html>sorry</html>")}},
        {"3", {.body = bomb}},
        {"4", {.body = {}}},
        {"5", {.redirect = "http://h/t/5"}}};
    std::map<std::string, FakeServer::Answer> good;
    for (const auto& row : rows) {
        server->change("https://h/t/" + std::string(row.first),
                       [&](auto& each) { good[row.first] = std::exchange(each, row.second); });
    }
    putMaster("#EXT-X-START:TIME-OFFSET=0\n");
    languages = {"de"};
    open("https://h/m.m3u8");
    select(Mode::byLanguage);  // before anybody knows what there is
    ASSERT_TRUE(says(6)) << "what is bad does not keep from what is good";
    EXPECT_EQ(said(8500ms), "") << "nothing is said there";
    ASSERT_TRUE(until([&] { return presentation->errorLog().size() >= 6; }));
    EXPECT_EQ(presentation->errorLog()[0].URI, "https://h/s/list.m3u8") << "the other group's then";
    EXPECT_EQ(presentation->errorLog()[0].errorStatusCode, 404);
    for (const auto& row : good)
        server->change("https://h/t/" + row.first, [&](auto& each) { each = row.second; });
    server->change("https://h/s/list.m3u8", [](auto& answer) { answer.status = 200; });
    for (const int i : {0, 1, 2, 3, 5}) EXPECT_TRUE(says(i)) << i;
    EXPECT_EQ(reason(), "none");
    EXPECT_TRUE(output->hasSaid("enough"));
    EXPECT_FALSE(output->hasSaid("dry"));
}

TEST_F(SubtitleTest, LiveListsGoOnAndKeysAndMapsOpenWhatIsLoaded) {
    const auto list = [&](int first) {
        std::string text =
            "#EXTM3U\n#EXT-X-TARGETDURATION:2\n#EXT-X-MEDIA-SEQUENCE:" + std::to_string(first) +
            "\n";
        for (int i = first; i < first + 4; ++i)
            text += "#EXTINF:2,\n" + std::to_string(i) + ".ts\n";
        server->put("https://h/v/list.m3u8", text);
        putWords("https://h/s/", first, 4, false);
    };
    list(10);
    languages = {"de"};
    open("https://h/m.m3u8");
    select(Mode::byLanguage);
    ASSERT_TRUE(until([&] { return said(2500ms) == "2-3 cue 11"; })) << "by the list's time";
    list(12);
    output->at = 8s;
    ASSERT_TRUE(until([&] { return said(8500ms) == "8-9 cue 14"; }));

    answerKeys();
    const Data vector(16, 3);
    for (const char* uri : {"skd://k", "key", "data:;base64,BwcHBwcHBwcHBwcHBwcHBw=="}) {
        server->put("https://h/key", {.body = key});
        server->put("https://h/s/0",
                    {.body = streams::encrypted(bytesOf("WEBVTT\n\n00:00.0 --> 00:01.0\nopen"), key,
                                                vector)});
        server->put(
            "https://h/s/list.m3u8",
            std::string("#EXTM3U\n#EXT-X-KEY:METHOD=AES-128,URI=\"") +
                (uri[0] == 'k' ? "../key" : uri) +
                "\",IV=0x03030303030303030303030303030303\n#EXTINF:60,\n0\n#EXT-X-ENDLIST\n");
        putList("https://h/v/", segments(30));
        output->at = start = 0s;
        open("https://h/m.m3u8");
        select(Mode::byLanguage);
        EXPECT_TRUE(until([&] { return said(500ms) == "0-1 open"; })) << uri;
    }
    const auto [initialization, segment] = fragments(100'000);
    server->put("https://h/s/map", {.body = initialization});
    server->put("https://h/s/0", {.body = segment});
    server->put("https://h/s/list.m3u8",
                "#EXTM3U\n#EXT-X-MAP:URI=\"map\"\n#EXTINF:60,\n0\n#EXT-X-ENDLIST\n");
    open("https://h/m.m3u8");
    select(Mode::byLanguage);
    EXPECT_TRUE(until([&] { return said(3500ms) == "1-4 /b/"; })) << "of fragments, too";
}

}  // namespace korvel::tests
