#include <korvel/doubles/FakeDevice.h>

#include <korvel/platform/avfoundation/AVError.h>
#include <korvel/platform/avfoundation/AVPlayer.h>

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

namespace korvel::tests {

using namespace doubles;

using namespace platform;
using namespace std::chrono_literals;

namespace {

constexpr auto infinity = std::numeric_limits<double>::infinity();

CMTime seconds(double value) { return CMTimeMakeWithSeconds(value, nanosecondTimescale); }

/// Writes down what it hears: "playbackLikelyToKeepUp 1".
struct Listener final : KeyValueObserver {
    std::vector<std::string> heard;
    std::function<void(const std::string&)> onChange;
    void observeValueForKeyPath(const std::string& keyPath, Object&,
                                const KeyValueChange& change) override {
        heard.push_back(keyPath + ' ' + std::to_string(change.newValue));
        if (onChange) onChange(keyPath);
    }
    std::vector<std::string> take() { return std::exchange(heard, {}); }
};

using Lines = std::vector<std::string>;
const std::string likely = "playbackLikelyToKeepUp 1", unlikely = "playbackLikelyToKeepUp 0";
const std::string dry = "playbackBufferEmpty 1", notDry = "playbackBufferEmpty 0";

class Player : public testing::Test {
protected:
    Player() { observe(*item); }

    void observe(AVPlayerItem& observed) {
        for (const auto* path : {"status", "playbackLikelyToKeepUp", "playbackBufferEmpty"}) {
            observed.addObserver(listener, path);
        }
    }
    void settle() { fake.clock->settle(*fake.mainQueue); }
    void becomeReady(std::chrono::duration<double> length = 20s) {
        stream().becomeReady(length);
        settle();
    }
    void buffered(bool enough) {
        stream().events->buffered(enough);
        settle();
    }
    void seek(CMTime to) { player->seek(to, kCMTimeZero, kCMTimeZero); }
    double position() const { return CMTimeGetSeconds(player->currentTime()); }
    FakeMediaEngine::Stream& stream() const { return fake.media->last(); }

    FakeDevice fake;
    std::shared_ptr<Listener> listener = std::make_shared<Listener>();
    std::shared_ptr<AVPlayerItem> item = make<AVPlayerItem>(*URL::parse("https://h/v.m3u8"));
    std::shared_ptr<AVPlayer> player = make<AVPlayer>(item, fake.device());
};

}  // namespace

TEST(MediaTime, CountsInUnitsAndKnowsWhatIsNoTime) {
    EXPECT_EQ(seconds(0.1), CMTimeMake(100'000'000, nanosecondTimescale));
    EXPECT_EQ(seconds(3.3).nanoseconds(), 3'300'000'000ns);
    EXPECT_EQ(CMTimeMake(-1, 3).nanoseconds(), -333'333'333ns);
    EXPECT_EQ(CMTimeMake(std::numeric_limits<std::int64_t>::max(), 1).nanoseconds(),
              std::chrono::nanoseconds::max());
    EXPECT_EQ(CMTimeGetSeconds(CMTimeMake(3, 2)), 1.5);
    EXPECT_EQ(CMTimeGetSeconds(CMTimeMakeWithSeconds(-infinity, 600)), -infinity);
    EXPECT_EQ(CMTimeGetSeconds(CMTimeMakeWithSeconds(1e300, 600)), infinity);
    for (const CMTime none : {kCMTimeIndefinite, kCMTimeInvalid, CMTimeMake(1, 0), CMTime{},
                              CMTimeMakeWithSeconds(1, -600), CMTimeMakeWithSeconds(NAN, 600)}) {
        EXPECT_TRUE(std::isnan(CMTimeGetSeconds(none)));
        EXPECT_EQ(none.nanoseconds(), 0ns);
    }
}

TEST_F(Player, RateIsTheRequestedOneWhileTheStreamLoadsOrWaits) {
    player->play();
    EXPECT_EQ(player->rate(), 1.f);
    settle();
    EXPECT_EQ(stream().calls, Lines{}) << "nothing is asked of a stream that is not ready";
    EXPECT_TRUE(std::isnan(CMTimeGetSeconds(item->duration())));
    EXPECT_GT(item->asset()->duration().timescale, 0);

    becomeReady();
    EXPECT_EQ(stream().calls, Lines{"rate 1"});
    EXPECT_EQ(CMTimeGetSeconds(item->duration()), 20.);
    buffered(false);
    EXPECT_EQ(stream().rate(), 0.);
    EXPECT_EQ(player->rate(), 1.f);
    player->setRate(2);
    EXPECT_EQ(stream().rate(), 0.) << "held until enough is loaded";
    buffered(true);
    EXPECT_EQ(stream().rate(), 2.);
    for (const float none : {-1.f, NAN, 0.f}) {
        player->play();
        player->setRate(none);
        EXPECT_EQ(player->rate(), 0.f);
        EXPECT_EQ(stream().rate(), 0.);
    }
}

TEST_F(Player, SizeRangesAndLogsAreTold) {
    for (const auto* path : {"presentationSize", "loadedTimeRanges"})
        item->addObserver(listener, path);
    EXPECT_EQ(item->presentationSize(), CGSize());
    becomeReady();
    listener->take();
    const auto shows = [&](std::uint32_t width, double aspect) {
        auto frame = std::make_shared<VideoFrame>();
        frame->width = width;
        frame->height = 90;
        frame->pixelAspect = aspect;
        stream().frame = frame;
        stream().events->frameChanged();
        settle();
    };
    for (const auto& [width, aspect] : {std::pair(160U, 1.), {160U, 1.}, {80U, 2.}}) {
        shows(width, aspect);
        EXPECT_EQ(item->presentationSize(), (CGSize{160, 90}));
    }
    EXPECT_EQ(listener->take(), Lines{"presentationSize 0"}) << "once, as it does not change";

    stream().loaded = {{-1s, 2s}, {19s, 21s}, {22s, 23s}};
    for (int i = 0; i < 3; ++i) stream().events->loadedChanged();
    settle();
    EXPECT_EQ(listener->take(), Lines{"loadedTimeRanges 0"}) << "one on its way tells of all";
    EXPECT_EQ(item->loadedTimeRanges(),
              (std::vector<CMTimeRange>{{CMTime::of(0s), CMTime::of(2s)},
                                        {CMTime::of(19s), CMTime::of(1s)}}));

    fake.clock->advance(*fake.mainQueue, 5s);
    stream().accesses = {{.URI = "low"}, {.URI = "high", .numberOfStalls = 2}};
    stream().errors = {{.URI = "gone", .errorStatusCode = 404}};
    for (int i = 0; i < 2; ++i) {
        ASSERT_EQ(item->accessLog().size(), 2u);
        EXPECT_EQ(item->accessLog()[0].startupTime, 0.) << "ready in the moment of its opening";
        EXPECT_EQ(item->accessLog()[1].startupTime, -1.);
        EXPECT_EQ(item->errorLog().at(0).errorStatusCode, 404);
        player->replaceCurrentItem(nullptr);
    }
    EXPECT_EQ(item->loadedTimeRanges().size(), 0u);
}

TEST_F(Player, AChosenSoundIsHeardAfterASeekThatStaysWhereItIs) {
    fake.locale->chosenLanguages = {"de-AT", "en"};
    const AVMediaSelectionOption french{"French", "fr"};
    item = make<AVPlayerItem>(*URL::parse("https://h/v.m3u8"));
    item->select(french);
    player = make<AVPlayer>(item, fake.device());
    EXPECT_EQ(stream().languages, fake.locale->chosenLanguages);
    EXPECT_EQ(stream().calls, Lines{"sound French"}) << "kept for whenever it loads";
    stream().hasLoadedSound = true;
    item->select(french);
    EXPECT_TRUE(stream().seeks.empty()) << "not before it is ready";
    stream().moveTo(2s);
    becomeReady();
    player->play();
    stream().moveTo(7s);
    item->select(french);
    settle();
    EXPECT_EQ(stream().seeks, (std::vector<std::chrono::nanoseconds>{2s, 7s}));
    stream().playToEnd();
    settle();
    item->select(french);
    EXPECT_EQ(stream().seeks.size(), 2u) << "an end stays one";
}

TEST_F(Player, ObserversHearOfRealChangesOnTheMainQueueWithTheTrueValueLast) {
    stream().becomeReady(20s);
    EXPECT_EQ(listener->take(), Lines{}) << "not on the engine's thread";
    settle();
    EXPECT_EQ(listener->take(), (Lines{"status 1", likely}));

    const auto report = [&](bool enough) {
        for (int i = 0; i < 3; ++i) stream().events->buffered(enough);
        stream().events->ready();
        settle();
        return listener->take();
    };
    EXPECT_EQ(report(true), Lines{});
    EXPECT_EQ(report(false), (Lines{unlikely, dry}));
    EXPECT_TRUE(item->isPlaybackBufferEmpty());
    EXPECT_EQ(report(true), (Lines{notDry, likely}));
    EXPECT_TRUE(item->isPlaybackLikelyToKeepUp());

    item->addObserver(listener, "playbackLikelyToKeepUp");
    EXPECT_EQ(report(false), (Lines{unlikely, unlikely, dry}));
    item->removeObserver(*listener, "playbackLikelyToKeepUp");
    item->removeObserver(*listener, "playbackBufferEmpty");
    item->removeObserver(*listener, "playbackBufferEmpty");
    EXPECT_EQ(report(true), Lines{likely});
}

TEST_F(Player, SeeksWaitForReadinessAndForEachOtherAndTheLastCounts) {
    seek(seconds(5));
    seek(seconds(7));
    EXPECT_EQ(position(), 7.);
    EXPECT_TRUE(stream().seeks.empty());
    stream().endsSeeksAtOnce = false;
    becomeReady();
    EXPECT_EQ(stream().seeks, std::vector{7'000'000'000ns});
    for (const double to : {1., 2., 3.}) seek(seconds(to));
    EXPECT_EQ(stream().seeks.size(), 1u) << "one at a time";
    EXPECT_EQ(position(), 3.) << "the slider does not jump back meanwhile";
    stream().endSeek();
    settle();
    EXPECT_EQ(stream().seeks.back(), 3s);
    stream().endSeek();
    stream().endSeek();
    settle();
    EXPECT_EQ(stream().seeks.size(), 2u);

    stream().endsSeeksAtOnce = true;
    const std::pair<CMTime, std::optional<std::chrono::nanoseconds>> clamped[] = {
        {seconds(25), 20s},
        {seconds(-1), 0s},
        {seconds(infinity), 20s},
        {seconds(-infinity), 0s},
        {seconds(NAN), {}},
        {kCMTimeInvalid, {}},
        {item->asset()->duration(), 20s},
        {kCMTimeIndefinite, {}}};
    for (const auto& [to, expected] : clamped) {
        stream().seeks.clear();
        seek(to);
        settle();
        EXPECT_EQ(stream().seeks, expected ? std::vector{*expected} : decltype(stream().seeks){});
    }
}

TEST_F(Player, ASeekEndsAsLikelyToKeepUpAgainOrAsAStall) {
    player->play();
    becomeReady();
    listener->take();
    stream().endsSeeksAtOnce = false;

    seek(seconds(10));
    buffered(false);
    EXPECT_EQ(listener->take(), Lines{}) << "what is loaded is in flux";
    EXPECT_EQ(stream().rate(), 0.) << "but the stream waits for it";
    stream().events->buffered(true);
    stream().endSeek();
    settle();
    EXPECT_EQ(listener->take(), (Lines{unlikely, likely}));
    EXPECT_EQ(stream().rate(), 1.);

    seek(seconds(15));
    stream().events->buffered(false);
    stream().endSeek();
    settle();
    EXPECT_EQ(listener->take(), (Lines{unlikely, dry}));
    seek(seconds(3));
    stream().endSeek();
    settle();
    EXPECT_EQ(listener->take(), Lines{}) << "as empty as before";
    buffered(true);
    EXPECT_EQ(listener->take(), (Lines{notDry, likely}));
    buffered(false);
    EXPECT_EQ(listener->take(), (Lines{unlikely, dry})) << "a later stall is one";
}

TEST_F(Player, TimeObserversRunOneHundredAndFiftyTimesASecondUntilRemoved) {
    int one = 0, other = 0;
    const auto counting = [&](int& calls) {
        return player->addPeriodicTimeObserver(seconds(1. / 150), nullptr, [&](CMTime at) {
            ++calls;
            EXPECT_EQ(at, player->currentTime());
        });
    };
    const auto callsAfter = [&](std::chrono::seconds time) {
        fake.clock->advance(*fake.mainQueue, time);
        return std::pair(std::exchange(one, 0), std::exchange(other, 0));
    };
    const auto token = counting(one);
    counting(other);
    EXPECT_EQ(callsAfter(1s), std::pair(150, 150)) << "while loading, too";
    player->play();
    becomeReady();
    EXPECT_EQ(callsAfter(10s), std::pair(1500, 1500));
    for (const auto& gone : {token, token, {}}) player->removeTimeObserver(gone);
    EXPECT_EQ(callsAfter(1s), std::pair(0, 150));
    EXPECT_FALSE(player->addPeriodicTimeObserver(kCMTimeZero, nullptr, [](CMTime) {}));
    player.reset();
    EXPECT_EQ(callsAfter(1s), std::pair(0, 0));
}

TEST_F(Player, EndStopsThePlayerAndTellsThoseWhoLiveOncePerEnd) {
    int ends = 0;
    auto owner = std::make_shared<int>();
    item->observeDidPlayToEndTime(owner, [&] { ++ends; });
    player->play();
    becomeReady();
    stream().playToEnd();
    stream().events->playedToEnd();
    settle();
    EXPECT_EQ(ends, 1);
    player->play();
    EXPECT_EQ(player->rate(), 0.f) << "there is nothing left to play";
    stream().moveTo(21s);
    EXPECT_EQ(position(), 20.) << "decoders overshoot";

    seek(seconds(18));
    player->play();
    settle();
    EXPECT_EQ(stream().rate(), 1.);
    stream().playToEnd();
    settle();
    EXPECT_EQ(ends, 2);
    seek(seconds(18));
    settle();
    owner.reset();
    stream().playToEnd();
    settle();
    EXPECT_EQ(ends, 2);
}

TEST_F(Player, FailureIsFinalAndStopsThePlayer) {
    player->play();
    const auto error = makeAVError(AVError::contentIsNotAuthorized, "no key");
    stream().events->failed(error);
    stream().events->failed(makeAVError(AVError::unknown, "and then some"));
    stream().becomeReady(20s);
    settle();
    EXPECT_EQ(listener->take(), Lines{"status 2"});
    EXPECT_EQ(item->error(), error);
    EXPECT_EQ(player->rate(), 0.f);
    player->play();
    seek(seconds(1));
    settle();
    EXPECT_EQ(player->rate(), 0.f);
    EXPECT_EQ(stream().calls, Lines{});

    Device bare = fake.device();
    bare.mediaEngine = nullptr;
    const auto without = make<AVPlayer>(make<AVPlayerItem>(item->asset()), bare);
    settle();
    EXPECT_EQ(without->currentItem()->error()->code,
              static_cast<std::int64_t>(AVError::noMediaEngine));
}

TEST_F(Player, FormerItemIsClosedAndHeardNoMore) {
    player->play();
    becomeReady();
    listener->take();
    const auto first = fake.media->streams.front();
    const auto second = make<AVPlayerItem>(*URL::parse("https://h/2.m3u8"));
    first->events->buffered(false);
    player->replaceCurrentItem(second);
    EXPECT_TRUE(first->closed);
    first->events->failed({});
    settle();
    EXPECT_EQ(listener->take(), Lines{});
    EXPECT_EQ(player->status(), AVPlayer::Status::unknown);
    becomeReady();
    EXPECT_EQ(stream().calls, Lines{"rate 1"}) << "the rate stays";
    player->replaceCurrentItem(nullptr);
    EXPECT_EQ(fake.media->open(), 0u);
    EXPECT_EQ(player->currentTime(), kCMTimeZero);
    player->replaceCurrentItem(second);
    EXPECT_FALSE(second->startUp().picture) << "not of this start";
}

TEST_F(Player, ClosingFromWithinAnyCallIsSafe) {
    for (const std::string during :
         {"status", "playbackLikelyToKeepUp", "playbackBufferEmpty", "end", "tick"}) {
        item = make<AVPlayerItem>(*URL::parse("https://h/v.m3u8"));
        observe(*item);
        player = make<AVPlayer>(item, fake.device());
        int closed = 0;
        const auto close = [&](const std::string& what) {
            if (what != during) return;
            ++closed;
            player.reset();
            item.reset();
        };
        listener->onChange = close;
        auto owner = std::make_shared<int>();
        item->observeDidPlayToEndTime(owner, [&] { close("end"); });
        player->addPeriodicTimeObserver(seconds(0.01), nullptr, [&](CMTime) { close("tick"); });
        stream().becomeReady(20s);
        settle();
        buffered(false);
        stream().playToEnd();
        fake.clock->advance(*fake.mainQueue, 1s);
        EXPECT_EQ(closed, 1) << during;
        EXPECT_EQ(fake.media->open(), 0u) << during;
    }
}

TEST_F(Player, CuesComeAndGoInTheirTimeWithoutAnyPicture) {
    const auto cue = [](auto start, auto end, const char* text) {
        return AVSubtitleCue{.start = start, .end = end, .runs = {{text}}};
    };
    stream().cues = {cue(1s, 3s, "a"), cue(2s, 3s, "b"), cue(10s, 12s, "c")};
    item->addObserver(listener, "cues");
    const auto shown = [&] {
        std::string all;
        for (const auto& each : item->cues()) all += each.runs[0].text;
        return all;
    };
    const auto after = [&](std::chrono::nanoseconds time) {
        fake.clock->advance(*fake.mainQueue, time);
        return shown();
    };
    becomeReady();
    player->play();
    EXPECT_EQ(after(2500ms), "") << "none at first";
    seek(kCMTimeZero);
    item->selectSubtitles({AVSubtitleSelection::Mode::byLanguage, {}});
    settle();
    listener->take();
    EXPECT_EQ(after(999ms), "");
    EXPECT_EQ(after(21ms), "a");
    player->pause();
    EXPECT_EQ(after(5s), "a") << "time stands still";
    player->setRate(2);
    EXPECT_EQ(after(510ms), "ab");
    buffered(false);
    EXPECT_EQ(after(5s), "ab") << "likewise where it waits for the line";
    buffered(true);
    EXPECT_EQ(after(520ms), "");
    EXPECT_EQ(listener->take(),
              (Lines{"cues 0", "cues 0", unlikely, dry, notDry, likely, "cues 0"}));
    seek(seconds(11));
    settle();
    EXPECT_EQ(shown(), "c");
    item->selectSubtitles({});
    EXPECT_EQ(shown(), "");
}

}  // namespace korvel::tests
