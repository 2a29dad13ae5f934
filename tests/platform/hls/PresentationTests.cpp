#include "platform/hls/Rig.h"
#include "platform/hls/SampleEncryption.h"

#include <korvel/platform/avfoundation/AVError.h>
#include <korvel/platform/hls/SegmentSource.h>

namespace korvel::tests {

using namespace platform;
using namespace platform::hls;

namespace {

std::string variantLine(const std::string& uri, int bandwidth, const std::string& more = "") {
    return "#EXT-X-STREAM-INF:BANDWIDTH=" + std::to_string(bandwidth) + more + "\n" + uri + "\n";
}

}  // namespace

TEST_F(PresentationTest, GivesEverySampleOnceAndThenTheEnd) {
    constexpr double wrap = 8589934592. / 90'000;  // of the container's clock
    for (const double container : {100., wrap - 3}) {
        const auto before = server->asked().size();
        putList("https://h/", segments(4, container));
        open("https://h/list.m3u8");
        ASSERT_TRUE(ends() && until([&] { return output->hasSaid("enough"); })) << reason();
        expectPictures(0, 8);
        expectSound(0, 8);
        EXPECT_EQ(output->log(), (std::vector<std::string>{
                                     "tracks ps", "begin s 0", "format s audio/mpeg", "begin p 0",
                                     "format p video/x-h264", "end p", "end s", "enough"}));
        EXPECT_EQ(presentation->duration(), 8s);
        EXPECT_EQ(server->asked().size(), before + 5) << "nothing is asked for twice";
        EXPECT_EQ(presentation->accessLog().back().numberOfMediaRequests, 4);
    }
}

TEST_F(PresentationTest, SeeksBeginAtThePictureBeforeTheTarget) {
    auto list = segments(5);
    list[3].beginsWithKey = false;  // its pictures hang on those of the segment before
    putList("https://h/", list);
    open("https://h/list.m3u8");
    ASSERT_TRUE(ends());
    const std::tuple<double, double, double> rows[] = {// target, first picture, told beginning
                                                       {5.5, 4, 5.5},
                                                       {6.5, 4, 6.5},
                                                       {0, 0, 0},
                                                       {9.99, 8, 9.99},
                                                       {99, 8, 9.96}};
    for (const auto& [target, first, begin] : rows) {
        output->forgetLog();
        presentation->seek(std::chrono::nanoseconds(static_cast<std::int64_t>(target * 1e9)));
        ASSERT_TRUE(ends());
        expectPictures(first, 10);
        std::ostringstream line;
        line << "begin p " << begin;
        EXPECT_TRUE(output->hasSaid(line.str())) << target;
    }
}

TEST_F(PresentationTest, LoadsNoMoreThanItsStoreAndGoesOnWhenThatIsTaken) {
    start = 0s;
    lets = false;
    putList("https://h/", segments(30));
    open("https://h/list.m3u8");
    ASSERT_TRUE(until([&] { return output->lane(Kind::picture).samples.size() >= 250; }));
    std::this_thread::sleep_for(50ms);
    const auto store = output->lane(Kind::picture).samples.size();
    EXPECT_LT(store, 400u) << "ten seconds, and the rest of a segment";
    EXPECT_TRUE(output->hasSaid("enough"));
    output->at = 10s;
    for (int i = 0; i < 8; ++i) presentation->taken(Kind::picture, 10);
    ASSERT_TRUE(until([&] { return output->lane(Kind::picture).samples.size() > store + 100; }));
}

TEST_F(PresentationTest, SoundBehindAllPicturesOfALongSegmentIsReached) {
    start = 0s;
    streams::TransportStream stream;
    stream.tables();
    for (int i = 0; i < 25 * 30; ++i) {
        stream.pes(streams::TransportStream::picturePid, i * 3600,
                   streams::picture(i % 25 == 0, 1));
    }
    for (int i = 0; i < 1406; ++i)
        stream.pes(streams::TransportStream::soundPid, i * 1920, streams::adtsFrame(1));
    server->put("https://h/0.ts", {.body = stream.bytes});
    server->put("https://h/list.m3u8", "#EXTM3U\n#EXTINF:30,\n0.ts\n#EXT-X-ENDLIST\n");
    open("https://h/list.m3u8");
    EXPECT_TRUE(until([&] { return output->hasSaid("enough"); }));
    EXPECT_FALSE(output->lane(Kind::sound).ended) << "and then it waits";
}

TEST_F(PresentationTest, PicturesWithoutAnyKeyAreShownAllTheSame) {
    putList("https://h/", segments(3, 0, {.beginsWithKey = false}));
    open("https://h/list.m3u8");
    ASSERT_TRUE(ends());
    EXPECT_EQ(output->lane(Kind::picture).samples.size(), 150u);
}

TEST_F(PresentationTest, KeysOpenSegmentsAndMapsAndAreAskedForOnce) {
    answerKeys();
    const Data vector(16, 3);
    Data second(16, 0);
    second[14] = 1;  // without a vector, the number of the segment
    second[15] = 2;
    server->put("https://h/init",
                {.body = streams::encrypted(streams::initialization(), key, vector)});
    for (std::uint8_t i = 0; i < 3; ++i) {
        server->put("https://h/" + std::to_string(i),
                    {.body = streams::encrypted(streams::fragment(2000U * i, 50, i), key,
                                                i < 2 ? vector : second)});
    }
    const auto tag = [](const std::string& uri,
                        const char* iv = ",IV=0x03030303030303030303030303030303") {
        return "#EXT-X-KEY:METHOD=AES-128,URI=\"" + uri + "\"" + iv + "\n";
    };
    const auto list = [&](const std::string& uri) {
        return "#EXTM3U\n#EXT-X-MEDIA-SEQUENCE:256\n" + tag(uri) +
               "#EXT-X-MAP:URI=\"init\"\n#EXTINF:2,\n0\n#EXTINF:2,\n1\n" + tag(uri, "") +
               "#EXTINF:2,\n2\n#EXT-X-ENDLIST\n";
    };
    server->put("https://h/key", {.body = key});
    for (const char* uri : {"skd://host/k?kid=1", "Vendor.X+1://h/k?kid=1", "key",
                            "data:;base64,BwcHBwcHBwcHBwcHBwcHBw=="}) {
        server->put("https://h/list.m3u8", list(uri));
        open("https://h/list.m3u8");
        ASSERT_TRUE(until([&] { return output->lane(Kind::picture).ended || output->error(); }));
        EXPECT_EQ(reason(), "none") << uri;
        expectPictures(0, 6);
        presentation->seek(3s);
        ASSERT_TRUE(until([&] { return output->lane(Kind::picture).ended; }));
    }
    EXPECT_EQ(keyRequests.size(), 2u);
    EXPECT_EQ(server->count("https://h/key"), 1u);
}

TEST_F(PresentationTest, KeysThatDoNotComeOrDoNotOpenEndItWithTheirCause) {
    answerKeys();
    for (int i = 0; i < 3; ++i) {
        server->put("https://h/" + std::to_string(i),
                    {.body = streams::encrypted(streams::transportSegment({.length = 2}), key,
                                                Data(16, 0))});
    }
    const auto fail = [&](const std::string& tag) {
        server->put("https://h/list.m3u8", "#EXTM3U\n" + tag +
                                               "\n#EXTINF:2,\n0\n#EXTINF:2,\n1\n#EXTINF:2,\n2\n"
                                               "#EXT-X-ENDLIST\n");
        open("https://h/list.m3u8");
        EXPECT_TRUE(fails()) << tag;
        return output->error() ? static_cast<AVError>(output->error()->code) : AVError::unknown;
    };
    const std::string good = "#EXT-X-KEY:METHOD=AES-128,IV=0x00,URI=\"skd://k\"";
    key[0] = 8;
    EXPECT_EQ(fail(good), AVError::contentIsNotAuthorized) << "another key";
    key.pop_back();
    EXPECT_EQ(fail(good), AVError::contentIsNotAuthorized) << "a short one";
    EXPECT_EQ(fail("#EXT-X-KEY:METHOD=AES-128,URI=\"gone\""), AVError::contentIsNotAuthorized);
    EXPECT_NE(reason().find("404"), std::string::npos) << reason();
    for (const std::string method : {"SAMPLE-AES", "SAMPLE-AES-CTR"}) {
        EXPECT_EQ(fail("#EXT-X-KEY:METHOD=" + method + ",URI=\"skd://k\""),
                  AVError::contentIsProtected);
        EXPECT_EQ(reason(),
                  "The stream is encrypted by " + method + ", which cannot be opened here.");
    }
    EXPECT_EQ(fail("#EXT-X-KEY:METHOD=AES-128,URI=\"http://h/k\""),
              AVError::serverIncorrectlyConfigured);
}

TEST_F(PresentationTest, SamplesAreOpenedByTheDeviceWithTheKeyOfTheirSegment) {
    answerKeys();
    keys->setContentKeySystem(std::make_shared<streams::OpeningKeySystem>());
    const Data frame = streams::adtsFrame(9, 100);
    const auto body = [&](std::uint8_t number, const Data& segmentKey) {
        streams::SampleEncryption how{true, segmentKey, Data(16, 1)};
        Data bytes = streams::timeTag(90'000U * number);
        const Data sent = how.pattern(frame, 23, 84, 1, 0);
        for (int i = 0; i < 47; ++i) streams::append(bytes, sent);
        server->put("https://h/" + std::to_string(number), {.body = bytes});
    };
    body(0, Data(16, 8));
    body(1, key);
    const Data layer3 = streams::joined({streams::timeTag(180'000), {0xFF, 0xFB, 0x90, 0x64}});
    server->put("https://h/2", {.body = streams::joined({layer3, Data(414)})});
    const std::string tag = "#EXT-X-KEY:METHOD=SAMPLE-AES,IV=0x01010101010101010101010101010101,";
    server->put("https://h/list.m3u8",
                "#EXTM3U\n" + tag +
                    "URI=\"data:;base64,CAgICAgICAgICAgICAgICA==\"\n#EXTINF:1,\n0\n" + tag +
                    "URI=\"skd://k\"\n#EXTINF:1,\n1\n#EXTINF:1,\n2\n#EXT-X-ENDLIST\n");
    open("https://h/list.m3u8");
    ASSERT_TRUE(fails());
    EXPECT_EQ(reason(), "A frame of sound is not decrypted: https://h/2");
    const auto sound = output->lane(Kind::sound).samples;
    EXPECT_EQ(sound.size(), 94u);
    for (const Sample& each : sound) ASSERT_EQ(each.bytes, frame);
    EXPECT_EQ(keysAsked(), 1u);
}

TEST_F(PresentationTest, SessionKeysAreAskedForBeforeTheyAreWantedWhereTheHostSaysSo) {
    answerKeys();
    server->put("https://h/session.m3u8",
                "#EXTM3U\n#EXT-X-SESSION-KEY:METHOD=AES-128,URI=\"skd://k\"\n"
                "#EXT-X-STREAM-INF:BANDWIDTH=1\nlist.m3u8\n");
    server->put("https://h/list.m3u8", {.isHeld = true});
    for (const bool preloads : {false, true}) {
        keys->setPreloadsEligibleContentKeys(preloads);
        const auto before = server->count("https://h/list.m3u8");
        open("https://h/session.m3u8");
        ASSERT_TRUE(until([&] { return server->count("https://h/list.m3u8") > before; }));
        EXPECT_TRUE(until([&] { return keysAsked() == (preloads ? 1 : 0); }));
    }
}

TEST_F(PresentationTest, WhatAKeyOpensIsLoadedWhileTheKeyIsAwaited) {
    answerKeys();
    answersKeys = false;
    const Data vector(16, 3);
    server->put("https://h/init",
                {.body = streams::encrypted(streams::initialization(), key, vector)});
    for (std::uint8_t i = 0; i < 2; ++i) {
        server->put("https://h/" + std::to_string(i),
                    {.body = streams::encrypted(streams::fragment(2000U * i, 50, i), key, vector)});
    }
    server->put("https://h/long", {.body = Data(3 * SegmentSource::mostUnopened)});
    const auto list = [&](const char* name, const std::string& first) {
        server->put(std::string("https://h/") + name,
                    "#EXTM3U\n#EXT-X-KEY:METHOD=AES-128,URI=\"skd://k\","
                    "IV=0x03030303030303030303030303030303\n#EXT-X-MAP:URI=\"init\"\n"
                    "#EXTINF:2,\n" +
                        first + "\n#EXTINF:2,\n1\n#EXT-X-ENDLIST\n");
        const auto before = keysAsked();
        open(std::string("https://h/") + name);
        ASSERT_TRUE(until([&] { return keysAsked() > before; }));
    };
    const auto newest = [&] {
        const std::lock_guard lock(keyMutex);
        return keyRequests.back();
    };
    list("list", "0");
    ASSERT_TRUE(until([&] { return server->given("https://h/0") == server->size("https://h/0"); }));
    EXPECT_TRUE(output->lane(Kind::picture).samples.empty());
    newest()->dataRequest()->respond(key);
    newest()->finishLoading();
    ASSERT_TRUE(until([&] { return output->lane(Kind::picture).ended; }));
    expectPictures(0, 4);
    for (const char* each : {"init", "0", "1"})
        EXPECT_EQ(server->count(std::string("https://h/") + each), 1u) << each;

    list("sought", "0");
    presentation->seek(3s);
    ASSERT_TRUE(until([&] { return server->count("https://h/1") == 2; }));
    newest()->dataRequest()->respond(key);
    newest()->finishLoading();
    ASSERT_TRUE(until([&] { return output->lane(Kind::picture).ended; }));
    EXPECT_EQ(keysAsked(), 2u) << "a seek does not ask again";

    constexpr auto most = static_cast<std::int64_t>(SegmentSource::mostUnopened);
    list("bounded", "long");
    ASSERT_TRUE(until([&] { return server->given("https://h/long") >= most; }));
    std::this_thread::sleep_for(5ms);
    EXPECT_LE(server->given("https://h/long"), most + 20'000) << "no more is kept";
    newest()->finishLoading(NSError{"sdk", -3, {}});
    ASSERT_TRUE(fails());
    EXPECT_EQ(output->error()->code, -3);

    server->change("https://h/0", [](auto& answer) { answer.isHeld = true; });
    const auto before = server->count("https://h/0");
    list("refused", "0");
    ASSERT_TRUE(until([&] { return server->count("https://h/0") > before; }));
    newest()->finishLoading(NSError{"sdk", -4, {}});
    ASSERT_TRUE(fails()) << "whatever the segment does";
    EXPECT_EQ(output->error()->code, -4);
}

TEST_F(PresentationTest, ClosesAtOnceWhateverIsHeldAndThenAllIsQuiet) {
    answerKeys();
    answersKeys = false;
    putList("https://h/", segments(3), "#EXT-X-KEY:METHOD=AES-128,URI=\"skd://k\"\n");
    putList("https://s/", segments(3));
    server->change("https://s/0.ts", [](auto& answer) { answer.isHeld = true; });
    server->put("https://l/list.m3u8", {.isHeld = true});
    const std::pair<const char*, std::function<bool()>> rows[] = {
        {"https://h/", [&] { return keysAsked() > 0; }},
        {"https://s/", [&] { return server->count("https://s/0.ts") > 0; }},
        {"https://l/", [&] { return server->count("https://l/list.m3u8") > 0; }}};
    for (const auto& [base, isHeld] : rows) {
        open(std::string(base) + "list.m3u8");
        ASSERT_TRUE(until(isHeld)) << base;
        presentation->seek(1s);  // nor does it hold up a seek
        const auto before = std::chrono::steady_clock::now();
        presentation->close();
        EXPECT_LT(std::chrono::steady_clock::now() - before, 20ms) << base;
        const auto said = output->log().size();
        for (const auto& request : keyRequests) {
            EXPECT_TRUE(request->isCancelled());
            request->dataRequest()->respond(key);
            request->finishLoading();
        }
        std::this_thread::sleep_for(5ms);
        EXPECT_EQ(output->log().size(), said);
    }
}

TEST_F(PresentationTest, SoundOfItsOwnKeepsToThePicturesTimes) {
    // Its segments are cut elsewhere, and its container begins 40 ms before that of the pictures.
    putList("https://h/v/", segments(4, 50, {.hasSound = false}));
    auto sound = segments(4, 49.96, {.hasPicture = false});
    putList("https://h/a/", sound);
    server->put(
        "https://h/m.m3u8",
        "#EXTM3U\n#EXT-X-MEDIA:TYPE=AUDIO,GROUP-ID=\"g\",NAME=\"1\",URI=\"none/list.m3u8\"\n"
        "#EXT-X-MEDIA:TYPE=AUDIO,GROUP-ID=\"g\",NAME=\"2\",DEFAULT=YES,URI=\"a/list.m3u8\"\n" +
            variantLine("v/list.m3u8", 100'000, ",AUDIO=\"g\""));
    open("https://h/m.m3u8");
    ASSERT_TRUE(ends());
    EXPECT_EQ(reason(), "none");
    expectPictures(0, 8);
    expectSound(-0.04, 7.96);
    presentation->seek(5s);
    ASSERT_TRUE(ends());
    expectPictures(4, 8);
    expectSound(3.96, 7.96);
    EXPECT_EQ(server->count("https://h/none/list.m3u8"), 0u) << "the default is the second";
}

TEST_F(PresentationTest, TheSoundIsTheUsersOrTheHostsAndOfTheVariantsGroup) {
    const auto sound = [](const char* group, const char* name, const std::string& more) {
        return std::string("#EXT-X-MEDIA:TYPE=AUDIO,GROUP-ID=\"") + group + "\",NAME=\"" + name +
               "\",LANGUAGE=\"" + name + "\",URI=\"" + group + name + "/list.m3u8\"," + more + "\n";
    };
    std::string text = "#EXTM3U\n" + sound("lo", "fr", "") + sound("lo", "de", "AUTOSELECT=YES") +
                       sound("lo", "en", "DEFAULT=YES");
    text += sound("hi", "de", "AUTOSELECT=YES") + sound("hi", "en", "DEFAULT=YES");
    for (const char* base : {"https://h/1/", "https://h/2/"})
        putList(base, segments(15, 50, {.hasSound = false}));
    for (const char* base : {"lofr/", "lode/", "loen/", "hide/", "hien/"})
        putList(std::string("https://h/") + base, segments(15, 50, {.hasPicture = false}));
    server->put("https://h/m.m3u8", text + variantLine("1/list.m3u8", 60'000, ",AUDIO=\"lo\"") +
                                        variantLine("2/list.m3u8", 120'000, ",AUDIO=\"hi\""));
    const auto lists = [&](const char* name) {
        return server->count(std::string("https://h/") + name + "/list.m3u8");
    };
    server->change("https://h/2/3.ts", [](auto& answer) { answer.status = 404; });
    start = 0s;
    languages = {"fr-CA", "de-AT"};
    memory->keep(10e6, timers.clock->now());
    open("https://h/m.m3u8");
    ASSERT_TRUE(until([&] { return presentation->accessLog().size() == 2; }));
    output->at = start = 1h;
    presentation->starved(Kind::picture);
    ASSERT_TRUE(ends());
    EXPECT_EQ(lists("lode"), 1u) << "that of the new variant's group";
    expectSound(0, 30);

    const auto group = presentation->sounds();
    ASSERT_EQ(group.options.size(), 3u);
    EXPECT_EQ(group.selected, 1u);
    EXPECT_FALSE(presentation->selectSound({"it", "it"}) ||
                 presentation->selectSound({"de", "de"}));
    EXPECT_TRUE(presentation->selectSound(group.options[0]));
    presentation->seek(5s);
    ASSERT_TRUE(ends());
    EXPECT_EQ(lists("lofr"), 1u);
    expectSound(4, 30);

    server->change("https://h/2/3.ts", [](auto& answer) { answer.status = 200; });
    // What may be chosen for its language, and else the default.
    for (const auto& [wish, list] :
         {std::pair("de-CH", "hide"), std::pair("en", "hien"), std::pair("", "hien")}) {
        languages = {wish};
        const auto before = lists(list);
        open("https://h/m.m3u8");
        ASSERT_TRUE(ends());
        EXPECT_EQ(lists(list), before + 1) << wish;
    }
}

TEST_F(PresentationTest, TracksOfOneContainerAreAChoiceThatOutlivesVariantsAndDiscontinuities) {
    auto all = segments(5, 50, {.voices = {{"fra"}, {"Eng", 3}, {"eng"}, {"deu"}}});
    all[1].voices = {{"ita"}, {"eng"}};
    all[2].voices = std::vector<streams::Voice>(40, {"spa"});
    all[3].voices = {{"Eng", 3}, {"deu"}};
    std::string text = "#EXTM3U\n#EXT-X-MEDIA:TYPE=AUDIO,GROUP-ID=\"g\",NAME=\"all\",DEFAULT=YES\n";
    for (const std::string base : {"1/", "2/"}) {
        putList("https://h/" + base, all, "", {"", "#EXT-X-DISCONTINUITY\n"});
        text += variantLine(base + "list.m3u8", base == "1/" ? 60'000 : 120'000, ",AUDIO=\"g\"");
    }
    server->put("https://h/m.m3u8", text);
    server->change("https://h/2/3.ts", [](auto& answer) { answer.status = 404; });
    memory->keep(10e6, timers.clock->now());
    const std::tuple<const char*, std::string, AVMediaSelectionOption, const char*> rows[] = {
        {"1/list.m3u8", "", {}, "fisdf"},
        {"m.m3u8", "en-US", {}, "esde"},
        {"m.m3u8", "en", {"Deutsch", "de"}, "desd"},
        {"1/list.m3u8", "en", {"English (audio description)", "en"}, "EesE"},
    };
    // What is heard, a letter for each voice.
    const auto heard = [&] {
        std::string said;
        for (const auto& each : output->lane(Kind::sound).samples)
            if (said.empty() || said.back() != each.bytes.back()) said += char(each.bytes.back());
        return said;
    };
    for (const auto& [name, spoken, wish, said] : rows) {
        languages = {spoken};
        open("https://h/" + std::string(name));
        presentation->selectSound(wish);
        ASSERT_TRUE(ends());
        EXPECT_EQ(heard(), said);
        expectSound(0, 10);
    }
    const auto [options, selected] = presentation->sounds();
    EXPECT_TRUE(options.size() == 16 && selected == 1u && options[0].isDefault);
    EXPECT_FALSE(presentation->selectSound({"Deutsch", "en"}) ||
                 presentation->selectSound(options[1]));
}

TEST_F(PresentationTest, SoundIsChosenAlsoWhereItIsAloneOrWithinTheVariantAndADeadOneEndsIt) {
    const auto sound = [](const std::string& name, const std::string& uri) {
        return "#EXT-X-MEDIA:TYPE=AUDIO,GROUP-ID=\"g\",AUTOSELECT=YES,NAME=\"" + name +
               "\",LANGUAGE=\"" + name + "\"" + (uri.empty() ? "" : ",URI=\"" + uri + "\"") + "\n";
    };
    const auto lists = [&](const char* name) {
        return server->count("https://h/" + std::string(name) + "/list.m3u8");
    };
    putList("https://h/v/", segments(4));
    for (const char* base : {"https://h/de/", "https://h/en/"})
        putList(base, segments(4, 50, {.hasPicture = false}));
    const std::string both = sound("en", "en/list.m3u8") + sound("de", "de/list.m3u8");
    server->put(
        "https://h/alone.m3u8",
        "#EXTM3U\n" + both + variantLine("en/list.m3u8", 9, ",CODECS=\"mp4a.40.2\",AUDIO=\"g\""));
    languages = {"de"};
    open("https://h/alone.m3u8");
    ASSERT_TRUE(ends());
    expectSound(0, 8);
    EXPECT_EQ(lists("en"), 0u);
    EXPECT_TRUE(presentation->selectSound(presentation->sounds().options[0]));
    presentation->seek(2s);
    ASSERT_TRUE(ends());
    expectSound(2, 8);
    EXPECT_EQ(lists("en"), 1u);

    server->put("https://h/within.m3u8", "#EXTM3U\n" + sound("de", "") +
                                             sound("en", "en/list.m3u8") +
                                             variantLine("v/list.m3u8", 9, ",AUDIO=\"g\""));
    open("https://h/within.m3u8");
    ASSERT_TRUE(ends());
    expectSound(0, 8);
    EXPECT_EQ(lists("en"), 1u);

    server->change("https://h/en/list.m3u8", [](auto& answer) { answer.status = 404; });
    languages = {"en"};
    open("https://h/within.m3u8");
    ASSERT_TRUE(fails());
    EXPECT_EQ(reason(), "The service answered 404 for https://h/en/list.m3u8");
}

TEST_F(PresentationTest, ParametersAtTheBeginningAloneReachADecoderThatBeginsLater) {
    auto list = segments(6);
    for (std::size_t i = 1; i < list.size(); ++i) list[i].hasParameters = false;
    putList("https://h/", list);
    open("https://h/list.m3u8");
    presentation->seek(9s);
    ASSERT_TRUE(ends());
    expectPictures(8, 12);
    const auto first = output->lane(Kind::picture).samples.front().bytes;
    EXPECT_EQ(Data(first.begin(), first.begin() + 5), (Data{0, 0, 0, 1, 0x67}));
}

TEST_F(PresentationTest, ADeadVariantIsLeftAndAMissingSegmentOrAGapIsPassedOver) {
    putList("https://h/1/", segments(4));
    putList("https://h/2/", segments(4));
    server->change("https://h/2/1.ts", [](auto& answer) { answer.status = 404; });
    server->put("https://h/m.m3u8", "#EXTM3U\n" + variantLine("gone/list.m3u8", 900'000) +
                                        variantLine("2/list.m3u8", 800'000) +
                                        variantLine("1/list.m3u8", 100'000));
    memory->keep(10e6, timers.clock->now());
    open("https://h/m.m3u8");
    ASSERT_TRUE(ends());
    EXPECT_EQ(reason(), "none");
    expectPictures(0, 8);
    const auto accesses = presentation->accessLog();
    ASSERT_EQ(accesses.size(), 2u);
    EXPECT_EQ(accesses[0].URI, "https://h/2/list.m3u8");
    EXPECT_EQ(accesses[0].indicatedBitrate, 800'000);
    EXPECT_GE(accesses[0].numberOfBytesTransferred, server->size("https://h/2/0.ts"));
    EXPECT_EQ(accesses[1].numberOfMediaRequests, 3);
    const auto errors = presentation->errorLog();
    ASSERT_EQ(errors.size(), 2u);
    EXPECT_EQ(errors[0].URI, "https://h/gone/list.m3u8");
    EXPECT_EQ(errors[1].URI, "https://h/2/1.ts");
    EXPECT_EQ(errors[1].errorStatusCode, 404);

    putList("https://g/", segments(5), "", {"", "#EXT-X-GAP\n"});
    server->change("https://g/3.ts", [](auto& answer) { answer.status = 404; });
    open("https://g/list.m3u8");
    ASSERT_TRUE(ends());
    EXPECT_EQ(reason(), "none");
    EXPECT_EQ(output->lane(Kind::picture).samples.size(), 150u);
    EXPECT_EQ(server->count("https://g/1.ts"), 0u) << "what is said not to be there";

    putList("https://f/", segments(6));
    for (const auto& [status, said, code] :
         {std::tuple(410, "410 for https://f/", AVError::unknown),
          {200, "No media that can be read: https://f/", AVError::fileFormatNotRecognized}}) {
        for (int i = 0; i < 6; ++i) {
            server->put("https://f/" + std::to_string(i) + ".ts",
                        {.body = bytesOf("no stream at all"), .status = status});
        }
        open("https://f/list.m3u8");
        ASSERT_TRUE(fails());
        EXPECT_NE(reason().find(said), std::string::npos) << reason();
        EXPECT_EQ(output->error()->code, static_cast<std::int64_t>(code)) << reason();
    }
}

TEST_F(PresentationTest, AVariantChangesBetweenSegmentsWithEveryPictureOnce) {
    start = 0s;
    lets = false;
    for (const char* base : {"https://h/1/", "https://h/2/"}) putList(base, segments(30));
    server->put("https://h/m.m3u8", "#EXTM3U\n" + variantLine("1/list.m3u8", 60'000) +
                                        variantLine("2/list.m3u8", 120'000));
    server->speed = 80'000;
    open("https://h/m.m3u8");
    ASSERT_TRUE(until([&] { return server->count("https://h/1/4.ts") > 0; }));
    EXPECT_EQ(server->count("https://h/2/list.m3u8"), 0u) << "too slow for the better one";
    server->speed = 8e6;
    output->at = 6s;
    presentation->starved(Kind::picture);
    ASSERT_TRUE(until([&] { return presentation->accessLog().size() >= 2; }));
    output->at = 1h;
    presentation->starved(Kind::picture);
    ASSERT_TRUE(ends());
    // What two variants hold both is told from where it is new.
    const auto samples = output->lane(Kind::picture).samples;
    std::vector<std::int64_t> numbers;
    for (const auto& each : samples)
        numbers.push_back(std::llround(static_cast<double>(each.pts->count()) / 40e6));
    std::sort(numbers.begin(), numbers.end());
    numbers.erase(std::unique(numbers.begin(), numbers.end()), numbers.end());
    EXPECT_EQ(numbers.size(), 1500u);
    EXPECT_EQ(numbers.back(), 1499);
    expectSound(0, 60);
}

TEST_F(PresentationTest, LiveStreamsBeginNearTheirEndAndGoOnUntilItIsTold) {
    const auto list = [&](int first, bool isEnded) {
        std::string text =
            "#EXTM3U\n#EXT-X-TARGETDURATION:2\n#EXT-X-MEDIA-SEQUENCE:" + std::to_string(first) +
            "\n";
        for (int i = first; i < first + 6; ++i) {
            text += "#EXTINF:2,\n" + std::to_string(i) + ".ts\n";
            server->put("https://h/" + std::to_string(i) + ".ts",
                        {.body = streams::transportSegment({.start = 2. * i})});
        }
        server->put("https://h/list.m3u8", text + (isEnded ? "#EXT-X-ENDLIST\n" : ""));
    };
    list(10, false);
    open("https://h/list.m3u8");
    ASSERT_TRUE(until([&] { return output->lane(Kind::picture).samples.size() == 150; }));
    EXPECT_TRUE(output->hasSaid("begin p 6")) << "three target durations before the end";
    EXPECT_FALSE(presentation->duration());
    list(12, false);
    ASSERT_TRUE(until([&] { return output->lane(Kind::picture).samples.size() == 250; }));
    list(13, true);
    ASSERT_TRUE(ends());
    expectPictures(6, 18);
    EXPECT_EQ(presentation->duration(), 18s);
}

}  // namespace korvel::tests
