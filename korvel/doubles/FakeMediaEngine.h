#pragma once

#include <korvel/platform/avfoundation/MediaEngine.h>

#include <algorithm>
#include <sstream>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace korvel::doubles {

/// A media engine in which things happen when a test says so. What it reports arrives with the main
/// queue's next drain. Positions move with the clock, at the rate that the player set.
class FakeMediaEngine final : public platform::MediaEngine {
public:
    using Nanoseconds = std::chrono::nanoseconds;

    /// One stream that a player opened. It outlives the player's own handle.
    struct Stream {
        const platform::URL url;
        const std::shared_ptr<platform::AVAssetResourceLoader> keys;
        const std::shared_ptr<platform::MediaEvents> events;
        const std::shared_ptr<const platform::Clock> clock;

        std::vector<std::string>
            calls{};  ///< "rate 1", "seek 2.5", "volume 0", "close", oldest first
        std::vector<Nanoseconds> seeks{};     ///< exactly
        std::optional<Nanoseconds> length{};  ///< reported as the duration
        std::shared_ptr<const platform::VideoFrame> frame{};
        std::vector<std::string> languages{};
        platform::AVMediaSelectionGroup sounds{};
        bool hasLoadedSound = false;
        platform::AVMediaSelectionGroup subtitles{};
        platform::AVSubtitleSelection subtitleSelection{};
        std::vector<platform::AVSubtitleCue> cues{};  ///< while any subtitles are selected
        std::vector<platform::MediaTimeRange> loaded{};
        std::vector<platform::AVPlayerItemAccessLogEvent> accesses{};
        std::vector<platform::AVPlayerItemErrorLogEvent> errors{};
        bool closed = false;
        bool endsSeeksAtOnce = true;  ///< else `endSeek` does
        std::vector<std::shared_ptr<platform::AVAssetResourceLoadingRequest>> keyRequests{};

        /// As for an encrypted segment; cancelled when the player closes.
        void askForKey(const std::string& address) {
            keyRequests.push_back(
                keys->load(platform::URLRequest(*platform::URL::parse(address)), [] {}));
        }

        /// Loaded: the length is known, the first picture is there, the buffer is full.
        void becomeReady(std::chrono::duration<double> duration) {
            length = std::chrono::duration_cast<Nanoseconds>(duration);
            frame = std::make_shared<platform::VideoFrame>();
            events->buffered(true);
            events->ready();
            events->frameChanged();
        }
        void endSeek() { events->seekEnded(); }
        void playToEnd() {
            moveTo(length.value_or(Nanoseconds::zero()));
            events->playedToEnd();
        }

        double rate() const { return rate_; }
        Nanoseconds position() const {
            const std::chrono::duration<double, std::nano> moved = (clock->now() - since_) * rate_;
            return at_ + std::chrono::duration_cast<Nanoseconds>(moved);
        }
        void setRate(double rate) {
            moveTo(position());
            rate_ = rate;
        }
        void moveTo(Nanoseconds position) {
            at_ = position;
            since_ = clock->now();
        }

        double rate_ = 0;
        Nanoseconds at_{};
        platform::Clock::Instant since_ = clock->now();
    };

    explicit FakeMediaEngine(std::shared_ptr<const platform::Clock> clock)
        : clock_(std::move(clock)) {}

    std::vector<std::shared_ptr<Stream>> streams;  ///< every one ever opened, oldest first
    std::vector<std::string> prepared;             ///< hints; "" without an address
    void prepare(const std::optional<platform::URL>& url) override {
        prepared.push_back(url ? url->absoluteString() : "");
    }

    Stream& last() const {
        if (streams.empty()) throw std::logic_error("no stream was opened");
        return *streams.back();
    }
    std::size_t open() const {
        return static_cast<std::size_t>(std::count_if(
            streams.begin(), streams.end(), [](const auto& each) { return !each->closed; }));
    }

    std::unique_ptr<platform::MediaPlayback> open(
        const platform::URL& url, std::shared_ptr<platform::AVAssetResourceLoader> keys,
        std::shared_ptr<platform::MediaEvents> events,
        std::vector<std::string> languages) override {
        streams.emplace_back(new Stream{url, std::move(keys), std::move(events), clock_});
        last().languages = std::move(languages);
        return std::make_unique<Handle>(streams.back());
    }

private:
    class Handle final : public platform::MediaPlayback {
    public:
        explicit Handle(std::shared_ptr<Stream> stream) : stream_(std::move(stream)) {}
        ~Handle() override {
            stream_->setRate(0);
            stream_->closed = true;
            for (const auto& request : stream_->keyRequests) request->cancel();
            stream_->calls.emplace_back("close");
        }
        void setRate(double rate) override {
            stream_->setRate(rate);
            note("rate ", rate);
        }
        void setVolume(double volume) override { note("volume ", volume); }
        void seek(Nanoseconds to) override {
            stream_->moveTo(to);
            stream_->seeks.push_back(to);
            note("seek ", std::chrono::duration<double>(to).count());
            if (stream_->endsSeeksAtOnce) stream_->events->seekEnded();
        }
        std::optional<Nanoseconds> position() override { return stream_->position(); }
        std::optional<Nanoseconds> duration() override { return stream_->length; }
        std::shared_ptr<const platform::VideoFrame> newestFrame() override {
            return stream_->frame;
        }

        platform::AVMediaSelectionGroup sounds() override { return stream_->sounds; }
        bool selectSound(const platform::AVMediaSelectionOption& option) override {
            stream_->calls.push_back("sound " + option.displayName);
            return stream_->hasLoadedSound;
        }
        platform::AVMediaSelectionGroup subtitles() override { return stream_->subtitles; }
        void selectSubtitles(const platform::AVSubtitleSelection& selection) override {
            stream_->subtitleSelection = selection;
            stream_->events->cuesChanged();
        }
        std::vector<platform::AVSubtitleCue> cues(Nanoseconds from) override {
            using Mode = platform::AVSubtitleSelection::Mode;
            if (stream_->subtitleSelection.mode == Mode::none) return {};
            auto cues = stream_->cues;
            std::erase_if(cues, [&](const auto& each) { return each.end <= from; });
            return cues;
        }
        std::vector<platform::MediaTimeRange> loaded() override { return stream_->loaded; }
        std::vector<platform::AVPlayerItemAccessLogEvent> accessLog() override {
            return stream_->accesses;
        }
        std::vector<platform::AVPlayerItemErrorLogEvent> errorLog() override {
            return stream_->errors;
        }

    private:
        void note(const char* call, double value) {
            stream_->calls.push_back((std::ostringstream() << call << value).str());
        }
        const std::shared_ptr<Stream> stream_;
    };

    const std::shared_ptr<const platform::Clock> clock_;
};

}  // namespace korvel::doubles
