#include <korvel/client/PlaybackWatch.h>
#include <korvel/model/KCSDKOndemandResultRequest.h>
#include <korvel/platform/avfoundation/AVError.h>
#include <korvel/platform/avfoundation/AVPlayer.h>
#include <korvel/platform/avfoundation/AVPlayerItem.h>
#include <korvel/platform/foundation/JSONDecoder.h>
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
}  // namespace

// ------------------------------------------------------------------------------------------
// watch

Playback::Watch::Watch(const platform::Device& device, const PlayOptions& options)
    : clock_(device.clock),
      mainQueue_(device.mainQueue),
      stallLimit_(options.stallLimit),
      keyDeadline_(options.keyDeadline),
      subtitles_(options.subtitles) {
    timeline_.asked = clock_->now();
}

void Playback::Watch::performed() {
    const std::lock_guard lock(mutex_);
    timeline_.performed = clock_->now();
}

Playback::Timeline Playback::Watch::timeline() const {
    const std::lock_guard lock(mutex_);
    auto timeline = timeline_;
    return timeline;
}

void Playback::Watch::followSteps(const KCSDKPlayerView& view, const AVPlayerItem& item) {
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

void Playback::Watch::follow(const std::shared_ptr<KCSDKPlayerView>& view) {
    view_ = view;
    const auto item = view->player() ? view->player()->currentItem() : nullptr;
    if (item && subtitles_.mode != platform::AVSubtitleSelection::Mode::none)
        item->selectSubtitles(subtitles_);
    view->closePlayerCallback = [self = shared_from_this(),
                                 close = view->closePlayerCallback](std::int64_t seconds) {
        if (self->closed(seconds)) close(seconds);
    };
    timer_ = platform::Timer::scheduled(*mainQueue_, lookInterval, true, [weak = weak_from_this()] {
        if (const auto self = weak.lock()) self->look();
    });
    look();
}

Playback::Status Playback::Watch::status() const {
    const std::lock_guard lock(mutex_);
    auto status = status_;
    return status;
}

bool Playback::Watch::isOver() const {
    const auto state = status_.state;
    return state == State::failed || state == State::ended;
}

void Playback::Watch::observe(Observer observer) {
    observer_ = std::move(observer);
    if (const auto told = observer_) told(status());
}

void Playback::Watch::change(const std::function<void(Status&)>& change) {
    {
        const std::lock_guard lock(mutex_);
        change(status_);
    }
    if (const auto told = observer_) told(status());  // it may replace itself
}

void Playback::Watch::look() {
    if (isOver()) return;
    const auto view = view_.lock();
    if (!view) {
        closed(std::nullopt);
        return;
    }
    const auto player = view->player();
    if (!player || !player->currentItem()) return;  // closing
    const auto item = player->currentItem();
    followSteps(*view, *item);
    if (item->status() == AVPlayerItem::Status::failed) return fail(failureOf(*view, *item));
    const auto now = clock_->now();
    const auto state = judge(*view, now);
    if (auto failure = overdue(*view, now)) return fail(std::move(*failure));
    {
        const std::lock_guard lock(mutex_);
        status_.waiting = waitsSince_ ? now - *waitsSince_ : Clock::Duration::zero();
        status_.performedSeconds = view->totalPerformedTime;
    }
    if (state != status_.state) change([&](Status& status) { status.state = state; });
}

Playback::State Playback::Watch::judge(KCSDKPlayerView& view, Clock::Instant now) {
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

std::optional<Failure> Playback::Watch::overdue(const KCSDKPlayerView& view,
                                                Clock::Instant now) const {
    const bool isOverdue = keySince_ && now - *keySince_ >= keyDeadline_;
    if (keySince_) {
        auto failure = view.keyProgress().failure.value_or(Failure());
        failure.reason = Reason::keyUnanswered;
        if (failure.status != 0) failure.reason = Reason::keyRefused;
        if (isOverdue || failure.status != 0) return failure;
    }
    if (waitsSince_ && now - *waitsSince_ >= stallLimit_) {
        return Failure{.reason = Reason::stalled};
    }
    return std::nullopt;
}

Failure Playback::Watch::failureOf(const KCSDKPlayerView& view, const AVPlayerItem& item) const {
    Failure failure;
    const auto error = item.error().value_or(NSError());
    failure.reason = reasonOf(error);
    if (failure.reason == Reason::keyRefused) {
        failure = view.keyProgress().failure.value_or(failure);
        failure.reason = Reason::keyRefused;
    }
    failure.transport = error;
    return failure;
}

void Playback::Watch::fail(Failure failure) {
    const auto self = shared_from_this();
    change([&](Status& status) {
        status.state = State::failed;
        status.failure = std::move(failure);
    });
    close();
}

bool Playback::Watch::closed(std::optional<std::int64_t> performedSeconds) {
    if (std::exchange(closed_, true)) return false;
    timer_->invalidate();
    {
        const std::lock_guard lock(mutex_);
        status_.waiting = {};
        if (performedSeconds) status_.performedSeconds = *performedSeconds;
    }
    if (!isOver()) change([](Status& status) { status.state = State::ended; });
    return true;
}

void Playback::Watch::close() {
    const auto shown = view_.lock();
    if (closed_ || closes_ || !shown || !shown->player()) return;
    closes_ = true;
    shown->closeBtnTapped();
}

void Playback::Watch::recorded(Outcome<Done> outcome, const std::optional<platform::Data>& sent) {
    std::shared_ptr<const KCSDKOndemandResultRequest> performance;
    if (sent) {
        auto record = platform::decodeJSON<KCSDKOndemandResultRequest>(*sent);
        if (record) performance = std::make_shared<KCSDKOndemandResultRequest>(*std::move(record));
    }
    mainQueue_->async([self = shared_from_this(), outcome = std::move(outcome),
                       performance = std::move(performance)] {
        self->change([&](Status& status) {
            status.recorded = outcome;
            status.performance = performance;
        });
    });
}

void Playback::Watch::setPlaying(bool plays) {
    const auto shown = view_.lock();
    const auto player = shown ? shown->player() : nullptr;
    if (isOver() || !player || (player->rate() != 0) == plays) return;
    shown->changePlayerState();
    look();
}

void Playback::Watch::seek(double seconds) {
    const auto shown = view_.lock();
    const auto player = shown ? shown->player() : nullptr;
    if (isOver() || !player) return;
    player->seek(platform::CMTimeMakeWithSeconds(seconds, platform::nanosecondTimescale),
                 platform::kCMTimeZero, platform::kCMTimeZero);
}

void Playback::Watch::stop() {
    if (!isOver()) close();
}

// ------------------------------------------------------------------------------------------
// handle

Playback::Playback(std::shared_ptr<platform::MainQueue> mainQueue, std::shared_ptr<Watch> watch,
                   std::shared_ptr<KCSDKPlayerEvents> events)
    : mainQueue_(std::move(mainQueue)), watch_(std::move(watch)), events_(std::move(events)) {}

Playback::~Playback() {
    // Views are let go of on the main queue, whichever thread lets go of this.
    mainQueue_->async([watch = std::move(watch_), events = std::move(events_)] {});
}

void Playback::onMainQueue(std::function<void(Watch&)> action) const {
    mainQueue_->async([watch = watch_, action = std::move(action)] { action(*watch); });
}

Playback::Status Playback::status() const { return watch_->status(); }
Playback::Timeline Playback::timeline() const { return watch_->timeline(); }
void Playback::observe(Observer observer) {
    onMainQueue([observer = std::move(observer)](Watch& watch) { watch.observe(observer); });
}
void Playback::play() {
    onMainQueue([](Watch& watch) { watch.setPlaying(true); });
}
void Playback::pause() {
    onMainQueue([](Watch& watch) { watch.setPlaying(false); });
}
void Playback::seek(double seconds) {
    onMainQueue([seconds](Watch& watch) { watch.seek(seconds); });
}
void Playback::stop() {
    onMainQueue([](Watch& watch) { watch.stop(); });
}

}  // namespace korvel
