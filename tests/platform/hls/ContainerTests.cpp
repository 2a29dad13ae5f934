#include "platform/hls/ContainerListening.h"

#include <korvel/platform/hls/AccessUnit.h>
#include <korvel/platform/hls/AudioFrames.h>
#include <korvel/platform/hls/FragmentTrack.h>

#include <random>

namespace korvel::tests {

using namespace std::chrono_literals;

TEST(ContainerTest, ContentIsRecognisedByItsFirstBytesOnceThereAreEnough) {
    const Data stream = transportSegment({});
    Data shifted(100, 0x11);
    append(shifted, stream);
    const std::tuple<const char*, Data, Container> rows[] = {
        {"transport stream", stream, Container::transportStream},
        {"with junk in front", shifted, Container::transportStream},
        {"fragments", fragment(0, 2, 1), Container::fragments},
        {"AAC", joined({adtsFrame(1), adtsFrame(2)}), Container::packedAudio},
        {"AAC with a time", joined({timeTag(5), adtsFrame(2)}), Container::packedAudio},
        {"playlist", bytesOf("#EXTM3U\n#EXTINF:1,\na"), Container::playlist},
        {"playlist with a mark", bytesOf("\xEF\xBB\xBF#EXTM3U\n"), Container::playlist},
        {"subtitles", bytesOf("WEBVTT\n\n"), Container::text},
        {"page", bytesOf("<!DOCTYPE html><html></html>"), Container::unknown},
        {"nothing", {}, Container::unknown},
    };
    for (const auto& [what, bytes, container] : rows) {
        EXPECT_EQ(recognised(bytes, true), container) << what;
        // Never anything else while it comes byte by byte.
        for (std::size_t size = 0; size < std::min<std::size_t>(bytes.size(), 600); ++size) {
            const auto early = recognised(ContainerReader::Bytes(bytes).first(size), false);
            EXPECT_TRUE(!early || *early == container) << what << ' ' << size;
        }
    }
}

TEST(ContainerTest, TransportStreamStandsPiecesHolesRepetitionsAndLateTables) {
    const Data whole = transportSegment({.mark = 9});
    for (const std::size_t piece : {1u, 187u, 100'000u}) {
        const auto found = read(whole, {}, piece);
        ASSERT_EQ(found.pictures().size(), 50u);
        EXPECT_EQ(found.sounds().size(), 94u);
        EXPECT_TRUE(found.pictures()[0].isKey && !found.pictures()[1].isKey);
        EXPECT_EQ(found.pictures()[7].bytes.back(), 9);
        EXPECT_NEAR(static_cast<double>(found.pictures()[49].duration->count()), 40e6, 2e4);
    }
    const auto packet = [&](std::size_t i) {
        const auto begin = whole.begin() + static_cast<std::ptrdiff_t>(188 * i);
        return Data(begin, begin + 188);
    };
    Data repeated;
    for (std::size_t i = 0; i < whole.size() / 188; ++i) append(repeated, packet(i));
    for (int i = 0; i < 2; ++i) append(repeated, packet(whole.size() / 188 - 1));
    EXPECT_EQ(read(repeated).sounds().size(), read(whole).sounds().size());

    Data late = joined({packet(2), packet(3), packet(4)});
    append(late, joined({packet(0), packet(1)}));
    late.insert(late.end(), whole.begin() + 188 * 5, whole.end());
    EXPECT_EQ(read(late).pictures().size(), 50u) << "what comes before the tables is kept";

    Data holed = whole;
    holed.erase(holed.begin() + 188 * 20 + 50, holed.begin() + 188 * 24 + 70);
    EXPECT_GE(read(holed).pictures().size(), 45u);

    TransportStream tables;
    tables.tables();
    const Data rest(whole.begin() + 2 * 188, whole.end());
    EXPECT_EQ(read(rest, tables.bytes).pictures().size(), 50u) << "tables in the map";
}

TEST(ContainerTest, FragmentsGiveSamplesWithTimesThatHonourTheEditList) {
    const Data bytes = joined({box("styp", {0, 0, 0, 0}), box("sidx", Data(20, 0)),
                               fragment(10'000, 3, 1), fragment(10'120, 2, 2)});
    for (const std::size_t piece : {1u, 7u, 10'000u}) {
        const auto found = read(bytes, initialization(), piece);
        ASSERT_EQ(found.pictures().size(), 5u);
        EXPECT_EQ(found.formats.at(0),
                  "video/x-h264, stream-format=(string)avc, alignment=(string)au, "
                  "width=(int)64, height=(int)36");
        for (std::size_t i = 0; i < 5; ++i) {
            const Sample& sample = found.pictures()[i];
            EXPECT_EQ(sample.pts, 10s + 40ms * i) << "shown 80 later, 80 left out";
            EXPECT_EQ(sample.dts, *sample.pts - 80ms);
            EXPECT_EQ(sample.duration, 40ms);
            EXPECT_EQ(sample.isKey, i == 0 || i == 3);
            EXPECT_EQ(sample.bytes, Data(3 + i % 3, i < 3 ? 1 : 2));
        }
    }
    EXPECT_EQ(read(joined({initialization(), fragment(0, 2, 1)})).pictures().size(), 2u)
        << "a segment may bring its description along";
    EXPECT_TRUE(read(fragment(0, 2, 1)).pictures().empty()) << "without any there is nothing";
}

TEST(ContainerTest, SoundsThatCanBeReadAreOfferedWithTheirLanguagesAndOneIsGiven) {
    const std::tuple<std::vector<Voice>, std::string, char> rows[] = {
        {{{"deu"}, {"ENG"}, {"fre", 3}, {"qaa", 2}}, "de en fr* qaa ", 'q'},
        {{{"eng"}, {"deu", 0, 0x0F, false}}, "en ", 'e'},
        {{{"xxx", 0, 0x82}, {"ger"}, {"eng", 0, 0x06}}, "de ", 'g'},
        {{{""}, {"und"}, {"\xFF\xFE\x00"}, {"e g"}, {"en"}, {"de1x"}}, std::string(6, ' '), 'd'},
        {std::vector<Voice>(300, {"eng"}), "en en en en en en en en en en en en en en en en ", 'e'},
    };
    for (const auto& [voices, names, mark] : rows) {
        const auto found = read(transportSegment({.length = 0.2, .voices = voices}));
        EXPECT_EQ(found.offered, names);
        EXPECT_EQ(found.sounds().at(0).bytes.back(), mark);
    }
    const auto languageOf = [](std::uint32_t letters, const Data& tag) {
        const Data head = box("mdhd", numbers({0, 0, 0, 1000, 0, letters << 16U}));
        const Data media =
            joined({head, box("elng", tag), box("hdlr", Data(12, 0)), box("minf", {})});
        return tracksIn(box("trak", joined({box("tkhd", Data(16, 0)), box("mdia", media)})))[0]
            .language;
    };
    const std::uint32_t german = (4U << 10U) | (5U << 5U) | 21U;
    EXPECT_EQ(languageOf(german, {}) + languageOf(german, Data(9, 0xC3)) + languageOf(0, {}),
              "dede");
    EXPECT_EQ(languageOf(german, bytesOf(std::string(4, '\0') + "de-AT")), "de-AT");
}

TEST(ContainerTest, PackedAudioTakesItsTimeFromTheTag) {
    Data frames;
    for (int i = 0; i < 10; ++i) append(frames, adtsFrame(1));
    const auto timed = read(joined({timeTag(90'000 * 5), frames}));
    ASSERT_EQ(timed.sounds().size(), 10u);
    EXPECT_EQ(timed.sounds()[0].pts, 5s);
    EXPECT_EQ(read(frames).sounds()[0].pts, 0s);
    Data cover = {'I', 'D', '3', 4, 0, 0, 0, 0x20, 0, 0};  // half a megabyte of a picture
    cover.resize(10 + (0x20 << 14), 0xFF);
    EXPECT_EQ(read(joined({cover, frames})).sounds().size(), 10u);
    EXPECT_EQ(read(joined({timeTag(0), Data(20, 7), frames})).sounds().size(), 10u) << "junk";
}

TEST(ContainerTest, FramesOfEveryCodecHaveTheirSizeAndLength) {
    const auto lengthOf = [](const Data& head, std::size_t size) {
        Data two = head;
        two.resize(size);
        append(two, head);
        two.resize(2 * size);
        std::vector<Sample> found;
        AudioFrames frames(*audioCodecOf(two), [&](Sample s) { found.push_back(std::move(s)); });
        frames.push(two, 1s);
        frames.finish();
        EXPECT_EQ(found.size(), 2u);
        return found.empty() ? 0ns : *found[0].duration;
    };
    EXPECT_EQ(lengthOf({0xFF, 0xFB, 0x90, 0x00}, 417).count() / 1000, 26122) << "MP3";
    EXPECT_EQ(lengthOf({0xFF, 0xF3, 0x80, 0x00}, 208).count() / 1000, 26122) << "MPEG-2, 64 kbit/s";
    EXPECT_EQ(lengthOf({0x0B, 0x77, 0, 0, 0x14, 0x40}, 768), 32ms) << "AC-3, 192 kbit/s";
    EXPECT_EQ(lengthOf({0x0B, 0x77, 0x01, 0x7F, 0x34, 0x80}, 768), 32ms) << "E-AC-3";

    std::vector<Sample> opus;
    AudioFrames frames(AudioCodec::opus, [&](Sample s) { opus.push_back(std::move(s)); });
    Data stream = joined({{0x7F, 0xF0, 0xFF, 1, 1, 0x38, 0xFC}, Data(255, 7)});  // trimmed in front
    append(stream, {0x7F, 0xEC, 3, 0, 9, 1, 0, 0x03, 3, 7});  // behind, and something for later
    append(stream, {0x7F, 0xE0, 1, 0x08});
    frames.push(joined({{1, 2, 3}, stream, {0x7F, 0xE0, 0xFF}}), 1s);
    frames.finish();
    ASSERT_EQ(opus.size(), 3u);
    EXPECT_EQ(opus[0].bytes.size(), 256u);
    EXPECT_EQ(opus[0].bytes[0], 0xFC);
    EXPECT_EQ(opus[1].bytes, (Data{0x03, 3, 7}));
    EXPECT_EQ(opus[1].pts.value_or(0s), 1020ms);
    EXPECT_EQ(*opus[1].duration, 30ms);
    EXPECT_EQ(*opus[2].duration, 20ms) << "of silence";
}

TEST(ContainerTest, PicturesTellWhetherADecoderCanBeginWithThem) {
    const auto isKey = [](VideoCodec codec, Data unit) {
        unit.insert(unit.begin(), {0, 0, 1});
        return inspected(codec, unit).isKey;
    };
    EXPECT_TRUE(isKey(VideoCodec::h264, {0x65, 0x88}));
    EXPECT_TRUE(isKey(VideoCodec::h264, {0x41, 0x88})) << "only intra slices";
    EXPECT_FALSE(isKey(VideoCodec::h264, {0x41, 0xC0}));
    EXPECT_TRUE(isKey(VideoCodec::h265, {19 << 1, 1, 0}));
    EXPECT_TRUE(isKey(VideoCodec::h265, {21 << 1, 1, 0}));
    EXPECT_FALSE(isKey(VideoCodec::h265, {1 << 1, 1, 0}));
    EXPECT_TRUE(isKey(VideoCodec::mpeg2, {0, 0, 0x08}));
    EXPECT_FALSE(isKey(VideoCodec::mpeg2, {0, 0, 0x10}));
    EXPECT_EQ(parametersIn(VideoCodec::h264, picture(true, 1)),
              (Data{0, 0, 0, 1, 0x67, 0x42, 0x11, 0, 0, 0, 1, 0x68, 0x22}));
    EXPECT_TRUE(parametersIn(VideoCodec::h264, picture(true, 1, false)).empty());
}

TEST(ContainerTest, DamagedAndInventedBytesDoNoHarm) {
    std::mt19937 random(7);
    const Data sound = joined({timeTag(1), adtsFrame(1), adtsFrame(2), adtsFrame(3)});
    for (const Data& whole : {transportSegment({.length = 0.4}),
                              joined({initialization(), fragment(0, 20, 1)}), sound}) {
        const auto good = read(whole);
        for (int round = 0; round < 300; ++round) {
            Data bytes = whole;
            for (int i = 0; i < 4; ++i)
                bytes[random() % bytes.size()] = static_cast<std::uint8_t>(random());
            bytes.resize(bytes.size() - random() % 50);
            const auto found = read(bytes, {}, 1 + random() % 500);
            EXPECT_LE(found.pictures().size(), good.pictures().size() + 2);
        }
    }
    // As many samples as a number can say, of no size and of a size that nobody has.
    for (const std::uint32_t size : {0u, 1u, 0xFFFFFFFFu}) {
        const Data lie =
            box("moof", box("traf", joined({box("tfhd", numbers({0x20010, 7, size})),
                                            box("trun", numbers({1, 0xFFFFFFFF, 0}))})));
        EXPECT_LT(read(joined({initialization(), lie})).pictures().size(), 2000u);
    }
}

}  // namespace korvel::tests
