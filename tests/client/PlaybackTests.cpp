#include "player/Fixture.h"
#include "support/ChildProcess.h"

#include <korvel/client/ContentClient.h>
#include <korvel/client/Playback.h>
#include <korvel/platform/avfoundation/AVAssetResourceLoader.h>
#include <korvel/platform/avfoundation/AVError.h>
#include <korvel/platform/avfoundation/MediaEvents.h>

#include <thread>

namespace korvel::tests {
namespace {

using Reason = Failure::Reason;
using State = Playback::State;

class PlaybackTest : public PlayerTest {
protected:
    std::optional<ContentClient> client;
    std::shared_ptr<Playback> playback;
    std::optional<Failure> failure;
    std::vector<std::string> states;

    static std::string text(const Playback::Status& status) {
        constexpr std::array names{"preparing", "buffering", "playing", "paused",
                                   "stalled",   "failed",    "ended"};
        std::string text = names.at(static_cast<std::size_t>(status.state));
        if (status.failure) text += " " + std::string(nameOf(status.failure->reason));
        if (status.recorded) {
            text += *status.recorded                    ? " recorded"
                    : status.recorded->failure().isKept ? " waiting"
                                                        : " unrecorded";
        }
        return text;
    }
    std::vector<std::string> seen() {
        run();
        return std::exchange(states, {});
    }

    void ask(PlayOptions options = {}, platform::Clock::Duration deadline = 30s) {
        client.emplace(ClientOptions{.deadline = deadline, .timers = fake.mainQueue});
        if (!options.in) options.in = place;
        options.listener = listener;
        client->play(decoded<KCSDKOndemandClass>(classJSON("asked")), options)
            .then(fake.mainQueue, [this](Outcome<std::shared_ptr<Playback>> outcome) {
                if (!outcome) {
                    failure = outcome.failure();
                    return;
                }
                playback = *outcome;
                playback->observe([this](const auto& status) { states.push_back(text(status)); });
            });
        run();
    }
    void begin(const std::string& link = "https://s/v.m3u8", PlayOptions options = {}) {
        ask(std::move(options));
        fake.session->answer(200,
                             "[" + classJSON("c1", R"(,"streamingLink":")" + link + "\"") + "]");
        run();
        ASSERT_NE(playback, nullptr);
        EXPECT_EQ(seen(), std::vector<std::string>{"preparing"});
    }
    using States = std::vector<std::string>;
};

TEST_F(PlaybackTest, TellsWhatTheStreamDoesUntilThePerformanceIsRecorded) {
    begin();
    becomeReady();
    pass(100ms);
    EXPECT_EQ(seen(), States{"playing"});
    playback->pause();
    playback->pause();
    EXPECT_EQ(seen(), States{"paused"});
    pass(10min);  // however long it is paused
    playback->play();
    EXPECT_EQ(seen(), States{"playing"});
    buffered(false);
    pass(100ms);
    EXPECT_EQ(seen(), States{"buffering"});
    pass(2s);
    EXPECT_EQ(seen(), States{"stalled"});
    EXPECT_GE(playback->status().waiting, 2s);
    buffered(true);
    pass(100ms);
    EXPECT_EQ(seen(), States{"playing"});
    playback->stop();
    playback->stop();
    EXPECT_EQ(seen(), States{"ended"});
    ASSERT_TRUE(fake.session->waitForRequests(2));
    fake.session->answer(201, "");
    EXPECT_EQ(seen(), States{"ended recorded"});
    ASSERT_NE(playback->status().performance, nullptr);
    EXPECT_EQ(playback->status().performance->contentID, "c1");
    EXPECT_EQ(playback->status().performedSeconds,
              playback->events()->playerVC->viewVideo->totalPerformedTime);
    pass(1min);
    EXPECT_EQ(seen(), States{});
    EXPECT_EQ(fake.session->requests.size(), 2u) << "one performance";
}

TEST_F(PlaybackTest, AStreamThatBringsNothingEndsAtItsLimitAndIsRecorded) {
    begin("https://s/v.m3u8", {.stallLimit = 5s});
    pass(4900ms);
    EXPECT_EQ(seen(), States{});
    pass(200ms);
    EXPECT_EQ(seen(), States{"failed stalled"});
    EXPECT_EQ(fake.media->open(), 0u);
    EXPECT_EQ(listener->told.back(), "exit 0") << "as at any close";
    ASSERT_TRUE(fake.session->waitForRequests(2));
    fake.session->failTransport();
    EXPECT_EQ(seen(), States{"failed stalled unrecorded"});
}

TEST_F(PlaybackTest, APerformanceThatWaitsIsToldOfOnceMoreWhenTheServiceHasIt) {
    fake.keychain->put("userId", "1");
    begin();
    playback->stop();
    EXPECT_EQ(seen(), States{"ended"});
    ASSERT_TRUE(fake.session->waitForRequests(2));
    fake.session->failTransport();
    const auto soon = [this](const char* state) {
        return eventually([&] { return seen() == States{state}; });
    };
    EXPECT_TRUE(soon("ended waiting"));
    EXPECT_EQ(client->waitingPerformances(), 1u);
    auto anything = client->consents();
    fake.session->answer(200, "[]");  // the network is back
    ASSERT_TRUE(fake.session->waitForRequests(4));
    EXPECT_EQ(fake.session->requests[1].body, fake.session->requests[3].body);
    fake.session->answer(201, "");
    EXPECT_TRUE(soon("ended recorded"));
    EXPECT_EQ(client->waitingPerformances(), 0u);
}

TEST_F(PlaybackTest, AStreamThatFailsSaysWhy) {
    using platform::AVError;
    const struct {
        AVError code;
        const char* part;
        Reason reason;
    } rows[] = {{AVError::fileFormatNotRecognized, "playlist", Reason::playlistFailed},
                {AVError::unknown, "segment", Reason::segmentFailed},
                {AVError::decodeFailed, "segment", Reason::undecodable},
                {AVError::decoderNotFound, "", Reason::unsupported},
                {AVError::contentIsProtected, "playlist", Reason::unsupported},
                {AVError::contentIsNotAuthorized, "", Reason::keyRefused},
                {AVError::unknown, "", Reason::unplayable}};
    for (std::size_t requests = 0; const auto& [code, part, reason] : rows) {
        begin();
        auto cause = platform::makeAVError(code, "why");
        cause.userInfo["part"] = std::string(part);
        stream().events->failed(cause);
        pass(100ms);
        EXPECT_EQ(seen().front(), "failed " + std::string(nameOf(reason)));
        EXPECT_EQ(playback->status().failure->transport, cause);
        ASSERT_TRUE(fake.session->waitForRequests(requests += 2));
        fake.session->answer(201, "");
        run();
        states.clear();
    }
}

TEST_F(PlaybackTest, AStartThatCannotBeNeverShowsAPlayer) {
    ask();
    fake.session->answer(403, "subscribe");
    run();
    EXPECT_EQ(failure.value().reason, Reason::subscriptionRequired);
    ask();
    fake.session->answer(601, consentJSON("c"));
    run();
    ASSERT_EQ(failure.value().reason, Reason::consentRequired);
    EXPECT_EQ(failure->consent->consentTag, "c");
    ask();
    fake.session->answer(200, "[" + classJSON("c1", R"(,"streamingLink":"https://s/%zz")") + "]");
    run();
    EXPECT_EQ(failure.value().member, "streamingLink");
    ask({}, 1s);
    pass(2s);
    EXPECT_EQ(failure.value().reason, Reason::timedOut);
    EXPECT_EQ(fake.session->pending(), 0u);
    EXPECT_TRUE(fake.media->streams.empty());
    EXPECT_TRUE(place->subviews().empty());
}

TEST_F(PlaybackTest, LettingGoOfItStopsNothingAndAViewThatGoesEndsIt) {
    begin("https://s/v.m3u8", {.stallLimit = 5s});
    playback->observe({});
    run();
    std::thread([let = std::exchange(playback, nullptr)] {}).join();
    run();
    EXPECT_EQ(fake.media->open(), 1u);
    pass(6s);
    EXPECT_EQ(fake.media->open(), 0u) << "its limit counts";
}

TEST_F(PlaybackTest, AKeyThatNobodyAnswersEndsAtItsDeadline) {
    begin("https://s/one/manifest", {.stallLimit = 1min, .keyDeadline = 3s});
    const auto asked =
        stream().keys->load(platform::URLRequest(url("https://keys.test/key?kid=k1")), [] {});
    ASSERT_TRUE(fake.session->waitForRequests(2)) << "for the content token";
    pass(2900ms);
    EXPECT_EQ(seen(), States{});
    pass(300ms);
    EXPECT_EQ(seen(), States{"failed keyUnanswered"});
}

TEST_F(PlaybackTest, AKeyWhoseTokenIsRefusedEndsAtOnce) {
    begin("https://s/one/manifest");
    stream().askForKey("https://keys.test/key?kid=k1");
    ASSERT_TRUE(fake.session->waitForRequests(2));
    fake.session->answer(403, "no");
    pass(100ms);
    EXPECT_EQ(seen(), States{"failed keyRefused"});
    EXPECT_EQ(playback->status().failure->status, 403);
}

TEST_F(PlaybackTest, PrefetchAsksForTheTokenWithTheClassAndTheTimelineSaysWhen) {
    using Step = platform::MediaStep;
    const auto began = fake.clock->now();
    const platform::AVSubtitleSelection subtitles{platform::AVSubtitleSelection::Mode::byLanguage,
                                                  {}};
    ask({.prefetch = true, .subtitles = subtitles});
    ASSERT_EQ(fake.session->requests.size(), 2u) << "the class and the token";
    pass(40ms);
    fake.session->answer(200,
                         "[" + classJSON("c1", R"(,"streamingLink":"https://s/manifest")") + "]");
    run();
    fake.session->answer(200, R"({"token":"t"})");
    EXPECT_TRUE(stream().keys->preloadsEligibleContentKeys());
    EXPECT_EQ(stream().subtitleSelection, subtitles);
    for (const auto step : {Step::playlist, Step::keyAsked}) {
        pass(40ms);
        stream().events->took(step);
    }
    stream().askForKey("https://keys.test/key?kid=k1");
    ASSERT_TRUE(fake.session->waitForRequests(3));
    EXPECT_EQ(fake.session->requests[2].url.absoluteString(), "https://keys.test/key?kid=k1");
    EXPECT_EQ(fake.session->requests[2].value("Authorization"), "Bearer t");
    EXPECT_EQ(playback->timeline().key, std::nullopt);
    for (const auto step : {Step::key, Step::segment, Step::key, Step::playlist}) {
        pass(40ms);
        stream().events->took(step);
    }
    becomeReady();
    pass(100ms);
    const auto steps = playback->timeline();
    EXPECT_EQ(steps.asked, began);
    EXPECT_EQ(steps.tokenAsked, began);
    EXPECT_EQ(steps.performed, began + 40ms);
    EXPECT_EQ(steps.opened, began + 40ms);
    EXPECT_EQ(steps.playlist, began + 80ms);
    EXPECT_EQ(steps.keyAsked, began + 120ms);
    EXPECT_EQ(steps.keyRequested, began + 120ms);
    EXPECT_EQ(steps.key, began + 160ms) << "the first of them";
    EXPECT_EQ(steps.segment, began + 200ms);
    EXPECT_EQ(steps.picture, began + 280ms);
    EXPECT_EQ(fake.media->prepared, std::vector<std::string>{""}) << "no server is known yet";
    const auto next = client->play(decoded<KCSDKOndemandClass>(classJSON("asked")),
                                   {.in = place, .prefetch = true});
    run();
    EXPECT_EQ(fake.media->prepared.back(), "https://s/manifest") << "where the last class was";
    const std::vector<std::string> keyServer(2, "https://keys.test/key?kid=k1");
    EXPECT_EQ(fake.session->connected, keyServer);
}

}  // namespace
}  // namespace korvel::tests
