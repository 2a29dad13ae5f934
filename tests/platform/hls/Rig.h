#pragma once

#include <korvel/doubles/Journal.h>
#include "platform/hls/Fixture.h"
#include "platform/hls/Streams.h"

#include <korvel/platform/avfoundation/AVAssetResourceLoader.h>

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <functional>
#include <sstream>

namespace korvel::tests {

using namespace doubles;

/// Takes whatever a presentation gives.
class Recorder final : public platform::hls::SampleOutput,
                       public platform::hls::PresentationEvents {
public:
    using Kind = platform::hls::Kind;
    struct Lane {
        std::vector<platform::hls::Sample> samples;
        bool ended = false;
    };

    /// As if so much had been played: an hour makes loaders hungry for ever.
    std::atomic<std::chrono::nanoseconds> at = std::chrono::nanoseconds(1h);

    void tracks(platform::hls::Tracks tracks) override {
        say("tracks ", tracks.picture ? "p" : "", tracks.sound ? "s" : "");
    }
    void begin(Kind kind, std::chrono::nanoseconds from) override {
        say("begin ", name(kind), " ", seconds(from));
    }
    void format(Kind kind, std::shared_ptr<const platform::hls::Format> format) override {
        say("format ", name(kind), " ", format->caps.substr(0, format->caps.find(',')));
    }
    void discontinuity(Kind kind) override { say("discontinuity ", name(kind)); }
    void sample(Kind kind, platform::hls::Sample sample) override {
        const std::lock_guard lock(mutex_);
        lanes_.at(static_cast<std::size_t>(kind)).samples.push_back(std::move(sample));
    }
    void end(Kind kind) override {
        say("end ", name(kind));
        const std::lock_guard lock(mutex_);
        lanes_.at(static_cast<std::size_t>(kind)).ended = true;
    }
    void flush(std::chrono::nanoseconds to) override {
        say("flush ", seconds(to));
        const std::lock_guard lock(mutex_);
        lanes_ = {};
    }
    std::optional<std::chrono::nanoseconds> position() const override { return at.load(); }

    void took(platform::MediaStep) override {}
    void buffered(bool enough) override { say(enough ? "enough" : "dry"); }
    void loadedChanged() override {}
    void durationChanged() override {}
    void cuesChanged() override {}
    void failed(platform::NSError error) override {
        const std::lock_guard lock(mutex_);
        error_ = std::move(error);
    }

    Lane lane(Kind kind) const {
        const std::lock_guard lock(mutex_);
        return lanes_.at(static_cast<std::size_t>(kind));
    }
    std::optional<platform::NSError> error() const {
        const std::lock_guard lock(mutex_);
        return error_;
    }
    std::vector<std::string> log() const { return journal_.lines(); }
    bool hasSaid(const std::string& line) const {
        const auto all = log();
        return std::find(all.begin(), all.end(), line) != all.end();
    }
    void forgetLog() { journal_.takeLines(); }

private:
    static const char* name(Kind kind) { return kind == Kind::picture ? "p" : "s"; }
    static double seconds(std::chrono::nanoseconds time) {
        return std::round(static_cast<double>(time.count()) / 1e7) / 100;
    }
    template <class... Parts> void say(const Parts&... parts) {
        std::ostringstream line;
        (line << ... << parts);
        journal_.add(line.str());
    }

    mutable std::mutex mutex_;
    std::array<Lane, 2> lanes_;
    Journal journal_;
    std::optional<platform::NSError> error_;
};

/// A presentation between a server in memory and a recorder, on a virtual clock.
class PresentationTest : public testing::Test, public platform::AVAssetResourceLoaderDelegate {
protected:
    using Kind = platform::hls::Kind;
    using Segment = streams::SegmentOptions;

    ~PresentationTest() override {
        if (presentation) presentation->close();
    }

    void open(const std::string& address) {
        if (presentation) presentation->close();
        output = std::make_shared<Recorder>();
        output->at = start;
        presentation = platform::hls::Presentation::open(
            *platform::URL::parse(address),
            {server, keys, output, output, timers.clock, timers.after(), languages, memory}, {});
    }
    /// Lets delays come due while it waits; fails the test after real seconds.
    bool until(const std::function<bool()>& done) {
        const auto limit = std::chrono::steady_clock::now() + 20s;
        while (!done()) {
            if (std::chrono::steady_clock::now() > limit) return false;
            if (lets) timers.advance(100ms);
            std::this_thread::sleep_for(100us);
        }
        return true;
    }
    bool ends() {
        return until([&] {
            return output->error() ||
                   (output->lane(Kind::picture).ended && output->lane(Kind::sound).ended);
        });
    }
    bool fails() {
        return until([&] { return output->error().has_value(); });
    }
    std::string reason() const {
        const auto error = output->error();
        const auto* text = error ? error->text("NSLocalizedFailureReason") : nullptr;
        return text ? *text : "none";
    }

    /// A playlist of segments of two seconds under `base`, put there with what it names.
    void putList(const std::string& base, const std::vector<Segment>& segments,
                 const std::string& head = "", const std::vector<std::string>& before = {}) {
        std::string text = "#EXTM3U\n#EXT-X-TARGETDURATION:2\n" + head;
        for (std::size_t i = 0; i < segments.size(); ++i) {
            const std::string name = std::to_string(i) + ".ts";
            if (i < before.size()) text += before[i];
            text += "#EXTINF:2,\n" + name + "\n";
            server->put(base + name, {.body = streams::transportSegment(segments[i])});
        }
        server->put(base + "list.m3u8", text + "#EXT-X-ENDLIST\n");
    }
    static std::vector<Segment> segments(int count, double start = 100, Segment common = {}) {
        std::vector<Segment> all(static_cast<std::size_t>(count), common);
        for (int i = 0; i < count; ++i) {
            all[static_cast<std::size_t>(i)].start = start + 2 * i;
            if (common.mark == 0)
                all[static_cast<std::size_t>(i)].mark = static_cast<std::uint8_t>(i + 1);
        }
        return all;
    }
    /// That pictures follow each other 40 ms apart from `from` to `to`, each once.
    void expectPictures(double from, double to) const {
        const auto samples = output->lane(Kind::picture).samples;
        ASSERT_EQ(samples.size(), static_cast<std::size_t>(std::lround((to - from) * 25)));
        for (std::size_t i = 0; i < samples.size(); ++i) {
            const double at = static_cast<double>(samples[i].pts->count()) / 1e9;
            ASSERT_NEAR(at, from + 0.04 * static_cast<double>(i), 0.002) << i;
        }
    }
    /// That sound goes from about `from` to about `to` without a hole.
    void expectSound(double from, double to) const {
        const auto samples = output->lane(Kind::sound).samples;
        ASSERT_FALSE(samples.empty());
        const auto at = [&](std::size_t i) {
            return static_cast<double>(samples[i].pts->count()) / 1e9;
        };
        EXPECT_NEAR(at(0), from, 0.05);
        EXPECT_NEAR(at(samples.size() - 1), to, 0.05);
        for (std::size_t i = 1; i < samples.size(); ++i)
            ASSERT_NEAR(at(i) - at(i - 1), 1024. / 48'000, 0.02) << i;
    }

    bool shouldWaitForLoadingOfRequestedResource(
        platform::AVAssetResourceLoader&,
        std::shared_ptr<platform::AVAssetResourceLoadingRequest> request) override {
        const std::lock_guard lock(keyMutex);
        keyRequests.push_back(request);
        if (!answersKeys) return true;
        request->dataRequest()->respond(key);
        request->finishLoading();
        return true;
    }
    std::size_t keysAsked() {
        const std::lock_guard lock(keyMutex);
        return keyRequests.size();
    }
    /// Makes this the delegate of the asset.
    void answerKeys() {
        delegate = std::shared_ptr<PresentationTest>(this, [](auto*) {});
        keys->setDelegate(delegate, platform::DispatchQueue::serial("keys"));
    }

    Timers timers;
    std::vector<std::string> languages;
    const std::shared_ptr<platform::hls::LineMemory> memory =
        std::make_shared<platform::hls::LineMemory>();
    bool lets = true;  ///< whether `until` moves the time
    std::chrono::nanoseconds start = 1h;
    const std::shared_ptr<FakeServer> server = std::make_shared<FakeServer>(timers.clock);
    const std::shared_ptr<platform::AVAssetResourceLoader> keys =
        platform::make<platform::AVAssetResourceLoader>();
    std::shared_ptr<PresentationTest> delegate;
    std::mutex keyMutex;
    std::vector<std::shared_ptr<platform::AVAssetResourceLoadingRequest>> keyRequests;
    platform::Data key = platform::Data(16, 7);
    bool answersKeys = true;
    std::shared_ptr<Recorder> output;
    std::shared_ptr<platform::hls::Presentation> presentation;
};

}  // namespace korvel::tests
