#include <korvel/client/PlaybackWatch.h>
#include <korvel/platform/avfoundation/AVError.h>
#include <korvel/platform/avfoundation/AVPlayer.h>
#include <korvel/platform/avfoundation/AVPlayerItem.h>
#include <korvel/player/KCSDKPlayerView.h>
#include <korvel/presentation/KCSDKPlayerEvents.h>

#include <utility>

namespace korvel {

using platform::AVError;
using platform::AVPlayerItem;
using Reason = Failure::Reason;
using platform::Clock;

namespace {
constexpr Clock::Duration lookInterval = std::chrono::milliseconds(100);
constexpr Clock::Duration stalledAfter = std::chrono::seconds(2);

/// Notes when `holds` began to hold; nothing while it does not.
void note(std::optional<Clock::Instant>& since, bool holds, Clock::Instant now) {
    if (!holds) return since.reset();
    if (!since) since = now;
}

Reason reasonOf(const NSError& error) {
    const auto* part = error.text("part");
    const bool isMedia = error.domain == platform::avFoundationErrorDomain;
    switch (isMedia ? static_cast<AVError>(error.code) : AVError::unknown) {
        case AVError::decodeFailed:
            return Reason::undecodable;
        case AVError::decoderNotFound:
        case AVError::contentIsProtected:
        case AVError::noMediaEngine:
            return Reason::unsupported;
        case AVError::contentIsNotAuthorized:
            return Reason::keyRefused;
        default:
            if (part && *part == "playlist") return Reason::playlistFailed;
            if (part && *part == "segment") return Reason::segmentFailed;
            return Reason::unplayable;
    }
}

/// What is known of a key that does not come.
Failure keyFailure(const KCSDKPlayerView& view) {
    auto progress = view.keyProgress();
    return progress.failure ? std::move(*progress.failure) : Failure();
}
}  // namespace

// ------------------------------------------------------------------------------------------
// watch

Playback::Timeline PlaybackWatch::timeline() const {
    const std::lock_guard lock(mutex_);
    return timeline_;
}

void PlaybackWatch::followSteps(const KCSDKPlayerView& view, const AVPlayerItem& item) {
    const auto& stream = item.startUp();
    const auto key = view.keyProgress();
    const std::lock_guard lock(mutex_);
    timeline_.opened = stream.opened;
    timeline_.playlist = stream.playlist;
    timeline_.keyAsked = stream.keyAsked;
    timeline_.tokenAsked = key.tokenAsked;
    timeline_.token = key.token;
    timeline_.keyRequested = key.requested;
    timeline_.key = stream.key;
    timeline_.segment = stream.segment;
    timeline_.picture = stream.picture;
}

void PlaybackWatch::follow(const std::shared_ptr<KCSDKPlayerView>& view) {
    view_ = view;
    const auto item = view->player() ? view->player()->currentItem() : nullptr;
    if (item && options_.subtitles.mode != platform::AVSubtitleSelection::Mode::none)
        item->selectSubtitles(options_.subtitles);
    timer_ = platform::Timer::scheduled(*mainQueue, lookInterval, true, [weak = weak_from_this()] {
        if (const auto self = weak.lock()) self->look();
    });
    look();
}

Playback::Status PlaybackWatch::status() const {
    const std::lock_guard lock(mutex_);
    return status_;
}

bool PlaybackWatch::isOver() const {
    const auto state = status_.state;
    return state == State::failed || state == State::ended;
}

void PlaybackWatch::observe(Playback::Observer observer) {
    observer_ = std::move(observer);
    tell();
}

void PlaybackWatch::tell() {
    if (const auto told = observer_) told(status());  // it may replace itself
}

void PlaybackWatch::enter(State state) {
    {
        const std::lock_guard lock(mutex_);
        status_.state = state;
    }
    tell();
}

void PlaybackWatch::look() {
    if (isOver()) return;
    const auto view = view_.lock();
    if (!view) {
        closes(status_.performedSeconds);
        return;
    }
    const auto player = view->player();
    const auto item = player ? player->currentItem() : nullptr;
    if (!item) return;  // closing
    followSteps(*view, *item);
    if (item->status() == AVPlayerItem::Status::failed) return failWith(*view, *item);
    const auto now = clock_->now();
    const auto state = judge(*view, now);
    if (failsOverdue(*view, now)) return;
    {
        const std::lock_guard lock(mutex_);
        status_.waiting = waitsSince_ ? now - *waitsSince_ : Clock::Duration::zero();
        status_.performedSeconds = view->totalPerformedTime;
    }
    if (state != status_.state) enter(state);
}

Playback::State PlaybackWatch::judge(KCSDKPlayerView& view, Clock::Instant now) {
    const auto player = view.player();
    const auto item = player->currentItem();
    const bool prepares = item->status() == AVPlayerItem::Status::unknown;
    const bool plays = player->rate() != 0;
    const bool waits = prepares || (plays && !item->isPlaybackLikelyToKeepUp());
    note(waitsSince_, waits, now);
    note(keySince_, waits && view.waitsForKey(), now);
    if (prepares) return State::preparing;
    if (!plays) return State::paused;
    if (!waits) return State::playing;
    return now - *waitsSince_ < stalledAfter ? State::buffering : State::stalled;
}

bool PlaybackWatch::failsOverdue(const KCSDKPlayerView& view, Clock::Instant now) {
    if (keySince_) {
        auto failure = keyFailure(view);
        const bool isRefused = failure.status != 0;
        failure.reason = isRefused ? Reason::keyRefused : Reason::keyUnanswered;
        if (isRefused || now - *keySince_ >= options_.keyDeadline) {
            fail(std::move(failure));
            return true;
        }
    }
    const bool isStalled = waitsSince_ && now - *waitsSince_ >= options_.stallLimit;
    if (isStalled) fail(failureFor(Reason::stalled));
    return isStalled;
}

void PlaybackWatch::failWith(const KCSDKPlayerView& view, const AVPlayerItem& item) {
    auto error = item.error().value_or(NSError());
    const auto reason = reasonOf(error);
    auto failure = reason == Reason::keyRefused ? keyFailure(view) : Failure();
    failure.reason = reason;
    failure.transport = std::move(error);
    fail(std::move(failure));
}

void PlaybackWatch::fail(Failure failure) {
    const auto self = shared_from_this();
    {
        const std::lock_guard lock(mutex_);
        status_.failure.emplace(std::move(failure));
    }
    enter(State::failed);
    close();
}

bool PlaybackWatch::closes(std::int64_t performedSeconds) {
    if (std::exchange(closed_, true)) return false;
    if (timer_) timer_->invalidate();
    {
        const std::lock_guard lock(mutex_);
        status_.waiting = {};
        status_.performedSeconds = performedSeconds;
    }
    if (!isOver()) enter(State::ended);
    return true;
}

void PlaybackWatch::close() {
    const auto shown = view_.lock();
    if (closed_ || closes_ || !shown || !shown->player()) return;
    closes_ = true;
    shown->closeBtnTapped();
}

void PlaybackWatch::setPlaying(bool plays) {
    const auto shown = view_.lock();
    const auto player = shown ? shown->player() : nullptr;
    if (isOver() || !player || (player->rate() != 0) == plays) return;
    shown->changePlayerState();
    look();
}

void PlaybackWatch::seek(double seconds) {
    const auto shown = view_.lock();
    const auto player = shown ? shown->player() : nullptr;
    if (isOver() || !player) return;
    player->seek(platform::CMTimeMakeWithSeconds(seconds, platform::nanosecondTimescale),
                 platform::kCMTimeZero, platform::kCMTimeZero);
}

void PlaybackWatch::stop() {
    if (!isOver()) close();
}

// ------------------------------------------------------------------------------------------
// handle

Playback::Playback(std::shared_ptr<PlaybackWatch> watch, std::shared_ptr<KCSDKPlayerEvents> events)
    : watch_(std::move(watch)), events_(std::move(events)) {}

Playback::~Playback() {
    // Views are let go of on the main queue, whichever thread lets go of this.
    const auto mainQueue = watch_->mainQueue;
    mainQueue->async([watch = std::move(watch_), events = std::move(events_)] {});
}

namespace {
using Order = void (*)(PlaybackWatch& watch, double seconds);

void give(Order order, const std::shared_ptr<PlaybackWatch>& watch, double seconds = 0) {
    watch->mainQueue->async([order, watch, seconds] { order(*watch, seconds); });
}
}  // namespace

Playback::Status Playback::status() const { return watch_->status(); }
Playback::Timeline Playback::timeline() const { return watch_->timeline(); }
void Playback::observe(Observer observer) {
    watch_->mainQueue->async(
        [watch = watch_, observer = std::move(observer)] { watch->observe(observer); });
}
void Playback::play() {
    give([](PlaybackWatch& watch, double) { watch.setPlaying(true); }, watch_);
}
void Playback::pause() {
    give([](PlaybackWatch& watch, double) { watch.setPlaying(false); }, watch_);
}
void Playback::seek(double seconds) {
    give([](PlaybackWatch& watch, double to) { watch.seek(to); }, watch_, seconds);
}
void Playback::stop() {
    give([](PlaybackWatch& watch, double) { watch.stop(); }, watch_);
}

}  // namespace korvel
