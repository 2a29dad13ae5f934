#include "platform/backends/gstreamer/Fixture.h"
#include "platform/backends/gstreamer/FormServer.h"
#include "platform/backends/gstreamer/Senses.h"
#include "platform/hls/SampleEncryption.h"

#include <algorithm>
#include <cmath>
#include <future>
#include <random>

namespace korvel::tests {

using namespace platform;

namespace {

/// Six seconds of one of the folders that "forms/make" makes.
struct Form {
    const char* path;
    int rate = 25;  ///< pictures a second; 0: none
    bool sounds = true;
};

/// The largest swing within half a second.
double loudness(const std::vector<SoundPiece>& sound, double from) {
    double most = -1;
    for (const SoundPiece& piece : sound) {
        if (piece.from < from || piece.from + piece.length > from + 0.5) continue;
        for (const float sample : piece.samples) most = std::max<double>(most, std::abs(sample));
    }
    return most;
}

}  // namespace

/// Read at once by one machine; the name stands for them in the list of tests.
struct Forms {
    const char* name;
    std::vector<Form> all;
};

void PrintTo(const Forms& forms, std::ostream* out) { *out << forms.name; }

class FormTest : public GStreamerTest, public testing::WithParamInterface<Forms> {
protected:
    FormServer server{KORVEL_FORMS};

    /// One form in a player of its own, and all pictures that it showed.
    struct Seen {
        const Form form;
        const std::string recorder;
        std::unique_ptr<Show> show;
        std::vector<int> pictures{};

        int at(double time) const { return static_cast<int>(std::floor(time * form.rate + 1e-4)); }
    };

    Seen open(const Form& form, std::size_t index) {
        Seen seen{form, "soundrecorder" + std::to_string(index), nullptr};
        registerSoundRecorder(seen.recorder);
        device.mediaEngine = makeMediaEngineGStreamer({.audioSink = seen.recorder});
        device.contentKeySystem = std::make_shared<streams::OpeningKeySystem>();
        seen.show = std::make_unique<Show>(server / form.path, device);
        return seen;
    }

    void seek(std::vector<Seen>& all, double to) {
        for (Seen& each : all) {
            each.show->listener->heard.clear();
            each.show->seek(to);
        }
        for (Seen& each : all) {
            ASSERT_TRUE(until([&] { return !each.show->listener->heard.empty(); }))
                << each.form.path << " at " << to;
            EXPECT_NEAR(each.show->position(), to, 0.001) << each.form.path;
            if (each.form.rate > 0) {
                EXPECT_EQ(each.show->picture(), each.at(to)) << each.form.path << " at " << to;
            }
        }
    }

    static void check(const Seen& seen) {
        const char* path = seen.form.path;
        if (seen.form.rate > 0) {
            const int last = 6 * seen.form.rate - 1;
            ASSERT_FALSE(seen.pictures.empty()) << path;
            EXPECT_NEAR(seen.pictures.back(), last, seen.form.rate / 5) << path;
            EXPECT_TRUE(std::is_sorted(seen.pictures.begin(), seen.pictures.end())) << path;
            int step = 0;
            for (std::size_t i = 1; i < seen.pictures.size(); ++i)
                step = std::max(step, seen.pictures[i] - seen.pictures[i - 1]);
            // This thread sees the newest one only, and on a busy machine not each of them.
            EXPECT_LE(step, seen.form.rate / 2) << path;
        }
        if (!seen.form.sounds) return;
        const auto sound = recordedBy(seen.recorder);
        EXPECT_LT(longestGap(sound, 0, 5.9), 0.05) << path;
        for (int second = 0; second < 6; ++second)
            EXPECT_NEAR(tone(sound, second), 300 + 100 * second, 15) << path << ' ' << second;
    }
};

TEST_P(FormTest, PlaysFromStartToEndWithTheRightPicturesAndTonesAndSeeksExactly) {
    showLatePictures();
    std::vector<Seen> all;
    for (const Form& form : GetParam().all) all.push_back(open(form, all.size()));
    for (Seen& each : all) {
        ASSERT_TRUE(until([&] { return each.show->isReady() || each.show->hasFailed(); }))
            << each.form.path;
        ASSERT_TRUE(each.show->isReady())
            << each.form.path << ' ' << each.show->item->error()->description();
        EXPECT_NEAR(CMTimeGetSeconds(each.show->item->duration()), 6, 0.15) << each.form.path;
        if (each.form.rate > 0) {
            EXPECT_EQ(each.show->picture(), 0) << each.form.path;
        }
    }
    for (const double to : {3.5, 1.3, 0.}) seek(all, to);
    for (Seen& each : all) {
        each.show->player->observeFrames(
            each.show->owner, [&each] { each.pictures.push_back(each.show->picture()); });
        each.show->player->play();
    }
    for (const Seen& each : all) {
        EXPECT_TRUE(until([&] { return each.show->ends > 0; })) << each.form.path;
        check(each);
    }
}

TEST_F(GStreamerTest, RatesChangeInMidPlayAndKeepThePitch) {
    const FormServer server{KORVEL_FORMS};
    registerSoundRecorder("ratesrecorder");
    device.mediaEngine = makeMediaEngineGStreamer({.audioSink = "ratesrecorder"});
    Show show(server / "ts-2/index.m3u8", device);
    show.player->play();
    ASSERT_TRUE(until([&] { return show.position() > 1; }));
    show.player->setRate(2);
    ASSERT_TRUE(until([&] { return show.position() > 4.2; }));
    show.player->setRate(0.5);
    ASSERT_TRUE(until([&] { return show.position() > 5.9 || show.ends > 0; }));
    const auto sound = recordedBy("ratesrecorder");
    EXPECT_NEAR(tone(sound, 0), 300, 15);
    EXPECT_NEAR(tone(sound, 2, 2), 500, 25);
    EXPECT_NEAR(tone(sound, 3, 2), 600, 25);
    EXPECT_NEAR(tone(sound, 5, 0.5), 800, 25);
    EXPECT_EQ(
        std::count(show.listener->heard.begin(), show.listener->heard.end(), "playbackBufferEmpty"),
        0);
}

TEST_F(GStreamerTest, VolumeAndMuteAreHeard) {
    const FormServer server{KORVEL_FORMS};
    registerSoundRecorder("voicesrecorder");
    device.mediaEngine = makeMediaEngineGStreamer({.audioSink = "voicesrecorder"});
    Show show(server / "voices/index.m3u8", device);
    ASSERT_TRUE(until([&] { return show.isReady(); }));
    // Each time from a standstill: what is then beyond the sink is less than 300 ms.
    const auto playOn = [&](const std::function<void()>& change) {
        change();
        const double from = show.position();
        show.player->play();
        EXPECT_TRUE(until([&] { return show.position() > from + 1.; }));
        show.player->pause();
        return from;
    };
    const auto heard = [] { return recordedBy("voicesrecorder"); };
    const double loud = playOn([] {});
    const double half = playOn([&] { show.player->setVolume(0.5); });
    const double mute = playOn([&] { show.player->setMuted(true); });
    const double full = loudness(heard(), loud + 0.3);
    EXPECT_GT(full, 0.1);
    EXPECT_NEAR(loudness(heard(), half + 0.3), full / 2, 0.02);
    EXPECT_EQ(loudness(heard(), mute + 0.3), 0);
}

TEST_F(GStreamerTest, RenditionsAndTracksOfOneContainerAreChosenInMidPlay) {
    const FormServer server{KORVEL_FORMS};
    std::map<std::string, std::unique_ptr<Show>> shows;
    for (const std::string form : {"voices", "ts-voices", "ts-mixed", "fmp4-voices"}) {
        registerSoundRecorder(form);
        device.mediaEngine = makeMediaEngineGStreamer({.audioSink = form});
        shows[form] = std::make_unique<Show>(server / (form + "/index.m3u8"), device);
        shows[form]->player->play();
    }
    for (const auto& [form, each] : shows) {
        Show* const show = each.get();
        ASSERT_TRUE(until([=] { return show->position() > 1; })) << form;
        EXPECT_NEAR(tone(recordedBy(form), 0), 300, 15) << form;
        show->item->select(show->item->audibleSelectionGroup().options.at(1));
        const auto [options, selected] = show->item->audibleSelectionGroup();
        EXPECT_TRUE(selected == 1u && options[1].extendedLanguageTag == "de") << form;
    }
    for (const auto& [form, each] : shows) {
        Show* const show = each.get();
        ASSERT_TRUE(until([=] { return show->ends > 0; })) << form;
        const auto sound = recordedBy(form);
        const double from = sound.at(0).from;
        EXPECT_LT(longestGap(sound, std::min(from, 4.), 5.9), 0.05) << form;
        for (int second = static_cast<int>(from) + 1; second < 6; ++second) {
            const double other = form == "ts-mixed" && second / 2 == 1 ? 300 + 100 * second : 900;
            EXPECT_NEAR(tone(sound, second), other, 15) << form << ' ' << second;
        }
    }
}

TEST_F(GStreamerTest, SubtitlesAreSaidInTheirTimeWhoeverPackedThem) {
    const FormServer server{KORVEL_FORMS};
    for (const char* form : {"words", "words-mapped", "words-sound"}) {
        Show show(server / (form + std::string("/index.m3u8")), device);
        ASSERT_TRUE(until([&] { return show.isReady(); })) << form;
        const auto group = show.item->legibleSelectionGroup();
        ASSERT_EQ(group.options.size(), 1u);
        EXPECT_EQ(group.options[0].extendedLanguageTag, "de");
        show.player->play();
        ASSERT_TRUE(until([&] { return show.position() > 0.2; })) << form;
        // What is said, and how long after its time that was heard; in mid-play, without a seek.
        std::vector<std::string> said;
        const auto look = [&] {
            const auto& cues = show.item->cues();
            const auto words = cues.empty() ? std::string() : cues[0].runs[0].text;
            if (said.empty() || said.back() != words) said.push_back(words);
            if (cues.empty()) return;
            EXPECT_NEAR(static_cast<double>(cues[0].start.count()) / 1e9,
                        words == "one" ? 0.5 : 1.8, 0.1)
                << form;
            EXPECT_GE(show.player->currentTime().nanoseconds(), cues[0].start) << form;
            EXPECT_EQ(cues[0].runs[0].isItalic, words == "two") << form;
        };
        show.item->selectSubtitles({AVSubtitleSelection::Mode::option, group.options[0]});
        ASSERT_TRUE(until([&] {
            look();
            return show.position() > 5;
        })) << form;
        EXPECT_EQ(said, (std::vector<std::string>{"", "one", "", "two", ""})) << form;
        show.player->pause();
        show.seek(3);
        EXPECT_TRUE(until([&] { return !show.item->cues().empty(); })) << form;
        EXPECT_EQ(show.item->legibleSelectionGroup().selected, 0u);
    }
}

TEST_F(GStreamerTest, SubtitlesThatDoNotComeHoldNothingUp) {
    std::promise<void> over;
    std::atomic<int> held = 0;
    FormServer server{KORVEL_FORMS};
    server.misbehaves = [&, end = over.get_future().share()](const auto& request, auto& response) {
        if (!request.path.ends_with(".vtt")) return false;
        ++held;
        end.wait();
        response.status = 404;
        return true;
    };
    auto show = std::make_unique<Show>(server / "words/index.m3u8", device);
    show->item->selectSubtitles({AVSubtitleSelection::Mode::option,
                                 {.displayName = "subtitle_0", .extendedLanguageTag = "de"}});
    show->player->play();
    EXPECT_TRUE(until([&] { return show->position() > 2 && held > 0; }));
    show->seek(5);
    EXPECT_TRUE(until([&] { return show->ends > 0; })) << "to its end";
    const auto before = std::chrono::steady_clock::now();
    show.reset();
    const auto closing = std::chrono::steady_clock::now() - before;
    over.set_value();
    EXPECT_LT(closing, 1s);
    RecordProperty("closing_us", std::to_string(closing / 1us));
}

TEST_F(GStreamerTest, SeeksInFilesEndAtTheirPictureHoweverRatesChange) {
    const FormServer server{KORVEL_FORMS};
    Show show(server / "file-front.mp4", device);
    ASSERT_TRUE(until([&] { return show.isReady(); }));
    std::mt19937 random(7);
    for (int i = 0; i < 60; ++i) {
        show.player->setRate(i % 2 == 0 ? 2 : 1);
        if (i % 3 == 0) play(std::chrono::milliseconds(random() % 60));
        const bool plays = i % 5 == 1;  // or amid the pipeline's step to that
        if (!plays) show.player->setRate(0);
        const int picture = static_cast<int>(random() % 150);
        show.listener->heard.clear();
        show.seek(picture / 25. + 0.01);
        ASSERT_TRUE(until([&] { return !show.listener->heard.empty(); })) << i;
        const int shown = show.picture();
        EXPECT_TRUE(plays ? shown >= picture : shown == picture) << i << ' ' << shown;
        show.player->setRate(0);
    }
}

INSTANTIATE_TEST_SUITE_P(Forms, FormTest,
                         testing::Values(Forms{"transportStream",
                                               {{"ts-2/index.m3u8"},
                                                {"ts-6/index.m3u8"},
                                                {"ts-ranges/index.m3u8"},
                                                {"ts-aes/index.m3u8"},
                                                {"ts-50/index.m3u8", 50},
                                                {"ts-10/index.m3u8", 10},
                                                {"ts-open/index.m3u8"},
                                                {"ts-baseline/index.m3u8"}}},
                                         Forms{"codecsAndRenditions",
                                               {{"ts-mp3/index.m3u8"},
                                                {"ts-ac3/index.m3u8"},
                                                {"ts-opus/index.m3u8"},
                                                {"fmp4-opus/index.m3u8"},
                                                {"ts-hevc/index.m3u8"},
                                                {"ts-silent/index.m3u8", 25, false},
                                                {"ts-sound/index.m3u8", 0},
                                                {"ts-apart/index.m3u8"},
                                                {"ts-variants/index.m3u8"},
                                                {"ts-joined/index.m3u8"},
                                                {"packed/index.m3u8", 0}}},
                                         Forms{"fragments",
                                               {{"fmp4-2/index.m3u8"},
                                                {"fmp4-aes/index.m3u8"},
                                                {"fmp4-ctr/index.m3u8"},
                                                {"fmp4-6/index.m3u8"},
                                                {"fmp4-ranges/index.m3u8"},
                                                {"fmp4-50/index.m3u8", 50},
                                                {"fmp4-baseline/index.m3u8"},
                                                {"fmp4-ac3/index.m3u8"}}},
                                         Forms{"fragmentsAndFiles",
                                               {{"fmp4-hevc/index.m3u8"},
                                                {"fmp4-sound/index.m3u8", 0},
                                                {"fmp4-apart/index.m3u8"},
                                                {"fmp4-variants/index.m3u8"},
                                                {"fmp4-joined/index.m3u8"},
                                                {"file-front.mp4"},
                                                {"file-end.mp4"}}}),
                         [](const auto& each) { return std::string(each.param.name); });

}  // namespace korvel::tests
