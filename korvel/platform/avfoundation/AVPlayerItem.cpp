#include <korvel/platform/avfoundation/AVError.h>
#include <korvel/platform/avfoundation/AVPlayer.h>
#include <korvel/platform/avfoundation/AVPlayerItem.h>

#include <algorithm>
#include <utility>

namespace korvel::platform {

using std::chrono::nanoseconds;

AVPlayerItem::AVPlayerItem(std::shared_ptr<AVURLAsset> asset) : asset_(std::move(asset)) {}

AVPlayerItem::AVPlayerItem(URL url) : AVPlayerItem(std::make_shared<AVURLAsset>(std::move(url))) {}

AVPlayerItem::~AVPlayerItem() = default;

CMTime AVPlayerItem::currentTime() const {
    if (target_) return CMTime::of(within(*target_));
    const auto position = playback_ ? playback_->position() : std::nullopt;
    if (position) lastPosition_ = *position;
    return CMTime::of(within(lastPosition_));
}

/// Decoders run a little past the end; hosts may rely on positions that do not.
nanoseconds AVPlayerItem::within(nanoseconds time) const {
    const CMTime duration = asset_->duration_;
    if (duration.isNumeric()) time = std::min(time, duration.nanoseconds());
    return std::max(time, nanoseconds::zero());
}

std::vector<CMTimeRange> AVPlayerItem::loadedTimeRanges() const {
    std::vector<CMTimeRange> ranges;
    for (const MediaTimeRange& each :
         playback_ ? playback_->loaded() : std::vector<MediaTimeRange>()) {
        const auto start = within(each.start);
        const auto end = within(each.end);
        if (end > start) ranges.push_back({CMTime::of(start), CMTime::of(end - start)});
    }
    return ranges;
}

std::vector<AVPlayerItemAccessLogEvent> AVPlayerItem::accessLog() const {
    if (!playback_) return accessLog_;
    auto log = playback_->accessLog();
    if (!log.empty() && startUp_.opened && startUp_.picture) {
        log.front().startupTime =
            std::chrono::duration<double>(*startUp_.picture - *startUp_.opened).count();
    }
    return log;
}

std::vector<AVPlayerItemErrorLogEvent> AVPlayerItem::errorLog() const {
    return playback_ ? playback_->errorLog() : errorLog_;
}

// MARK: observers

void AVPlayerItem::addObserver(std::weak_ptr<KeyValueObserver> observer, std::string keyPath) {
    observers_.add(std::move(observer), std::move(keyPath));
}

void AVPlayerItem::removeObserver(const KeyValueObserver& observer, const std::string& keyPath) {
    observers_.remove(observer, keyPath);
}

void AVPlayerItem::observeDidPlayToEndTime(std::weak_ptr<void> owner, std::function<void()> block) {
    std::erase_if(endObservers_, [](const auto& each) { return each.owner.expired(); });
    endObservers_.push_back({std::move(owner), std::move(block)});
}

void AVPlayerItem::change(bool& value, bool newValue, const char* keyPath) {
    if (std::exchange(value, newValue) == newValue) return;
    observers_.notify(keyPath, *this, {newValue});
}

void AVPlayerItem::changeStatus(Status status) {
    if (std::exchange(status_, status) == status) return;
    observers_.notify("status", *this, {static_cast<std::int64_t>(status)});
}

// MARK: what the player asks

void AVPlayerItem::open(AVPlayer& player) {
    if (player_) close();  // another player's until now
    player_ = &player;
    error_.reset();
    status_ = Status::unknown;
    startUp_ = {.opened = player.clock_->now()};
    events_ = make<MediaEvents>(weak_from_this(), player.mainQueue_, player.clock_);
    if (player.engine_) {
        playback_ = player.engine_->open(
            asset_->url(), asset_->resourceLoader(), events_,
            player.locale_ ? player.locale_->preferredLanguages() : std::vector<std::string>());
        applySelection();
        if (subtitles_.mode != AVSubtitleSelection::Mode::none)
            playback_->selectSubtitles(subtitles_);
    } else {
        events_->failed(makeAVError(AVError::noMediaEngine, "The device has no media engine."));
    }
}

void AVPlayerItem::close() {
    player_ = nullptr;
    accessLog_ = accessLog();
    errorLog_ = errorLog();
    events_.reset();
    playback_.reset();
    rate_ = applied_ = 0;
    volume_ = 1;
    enough_ = ended_ = seeking_ = soundIsDue_ = likelyToKeepUp_ = bufferEmpty_ = false;
    lastPosition_ = {};
    presentationSize_ = {};
    cues_.clear();
    cuesDue_.reset();
    nextSeek_.reset();
    target_.reset();
}

void AVPlayerItem::setRate(double rate) {
    rate_ = rate;
    applyRate();
}

void AVPlayerItem::setVolume(double volume) {
    if (playback_ && std::exchange(volume_, volume) != volume) playback_->setVolume(volume);
}

AVMediaSelectionGroup AVPlayerItem::audibleSelectionGroup() const {
    return playback_ ? playback_->sounds() : AVMediaSelectionGroup();
}

void AVPlayerItem::select(const AVMediaSelectionOption& option) {
    sound_ = option;
    applySelection();
}

void AVPlayerItem::applySelection() {
    if (!playback_ || !sound_ || !playback_->selectSound(*sound_) || ended_) return;
    if (status_ == Status::readyToPlay) return seek(currentTime().nanoseconds());
    soundIsDue_ = true;
}

AVMediaSelectionGroup AVPlayerItem::legibleSelectionGroup() const {
    return playback_ ? playback_->subtitles() : AVMediaSelectionGroup();
}

void AVPlayerItem::selectSubtitles(const AVSubtitleSelection& selection) {
    subtitles_ = selection;
    if (playback_) playback_->selectSubtitles(selection);
    didChangeCues();
}

void AVPlayerItem::applyRate() {
    const bool runs = status_ == Status::readyToPlay && enough_ && !ended_;
    const double rate = runs ? rate_ : 0;
    if (!playback_ || std::exchange(applied_, rate) == rate) return;
    playback_->setRate(rate);
    awaitCues();
}

void AVPlayerItem::seek(nanoseconds to) {
    if (!playback_ || status_ == Status::failed) return;
    target_ = nextSeek_ = to;
    ended_ = false;
    startSeek();
}

/// One at a time, and none before the playback is ready: of those asked for meanwhile the last
/// counts.
void AVPlayerItem::startSeek() {
    if (status_ != Status::readyToPlay || seeking_ || !nextSeek_) return;
    seeking_ = true;
    playback_->seek(within(*std::exchange(nextSeek_, std::nullopt)));
}

std::shared_ptr<const VideoFrame> AVPlayerItem::newestFrame() const {
    return playback_ ? playback_->newestFrame() : nullptr;
}

// MARK: what the playback reports. Observers come last: any of them may end the playback.

void AVPlayerItem::didTake(MediaStep step, Clock::Instant when) {
    const auto moment = [&]() -> MediaStartUp::Moment& {
        switch (step) {
            case MediaStep::playlist:
                return startUp_.playlist;
            case MediaStep::keyAsked:
                return startUp_.keyAsked;
            case MediaStep::key:
                return startUp_.key;
            case MediaStep::segment:
                return startUp_.segment;
            case MediaStep::picture:
                break;
        }
        return startUp_.picture;
    };
    if (!moment()) moment() = when;
}

void AVPlayerItem::didBecomeReady() {
    if (status_ != Status::unknown) return;
    didChangeDuration();
    status_ = Status::readyToPlay;
    if (std::exchange(soundIsDue_, false) && !nextSeek_)
        target_ = nextSeek_ = currentTime().nanoseconds();
    startSeek();
    applyRate();
    observers_.notify("status", *this, {static_cast<std::int64_t>(status_)});
    reportBuffering();
}

void AVPlayerItem::didBuffer(bool enough) {
    if (enough_ == enough || status_ == Status::failed) return;
    enough_ = enough;
    applyRate();
    reportBuffering();
}

void AVPlayerItem::reportBuffering() {
    if (status_ != Status::readyToPlay || seeking_) return;
    if (enough_) {
        change(bufferEmpty_, false, "playbackBufferEmpty");
        if (enough_) change(likelyToKeepUp_, true, "playbackLikelyToKeepUp");
    } else if (likelyToKeepUp_) {
        change(likelyToKeepUp_, false, "playbackLikelyToKeepUp");
        if (events_) change(bufferEmpty_, true, "playbackBufferEmpty");
    }
}

void AVPlayerItem::didLoad() { observers_.notify("loadedTimeRanges", *this, {}); }

void AVPlayerItem::didChangeCues() {
    if (subtitles_.mode == AVSubtitleSelection::Mode::none && cues_.empty()) return;
    const auto now = currentTime().nanoseconds();
    auto cues = playback_ ? playback_->cues(now) : std::vector<AVSubtitleCue>();
    awaitCues(cues, now);
    std::erase_if(cues, [&](const AVSubtitleCue& each) { return each.start > now; });
    if (std::exchange(cues_, cues) != cues) observers_.notify("cues", *this, {});
}

void AVPlayerItem::awaitCues() {
    if (subtitles_.mode == AVSubtitleSelection::Mode::none || !playback_) return;
    const auto now = currentTime().nanoseconds();
    awaitCues(playback_->cues(now), now);
}

/// Pictures tell that time has passed; sound alone, and pictures that are seldom, do not. So the
/// cues are looked at when the next one is due to begin or end, if the stream moves until then;
/// what moves it otherwise has them looked at, too.
void AVPlayerItem::awaitCues(const std::vector<AVSubtitleCue>& cues, nanoseconds now) {
    constexpr nanoseconds least = std::chrono::milliseconds(20);
    // Rates may be as small as one likes; who looks too early looks again.
    constexpr std::chrono::duration<double, std::nano> longest = std::chrono::minutes(1);
    std::optional<nanoseconds> next;
    for (const AVSubtitleCue& each : cues) {
        const auto change = each.start > now ? each.start : each.end;
        next = std::min(next.value_or(change), change);
    }
    if (!next || applied_ <= 0 || !player_) return;
    const auto wait = std::min(longest, (*next - now) / applied_);
    const auto delay = std::max(least, std::chrono::duration_cast<nanoseconds>(wait));
    const auto due = player_->clock_->now() + delay;
    if (cuesDue_ && *cuesDue_ <= due + least) return;
    cuesDue_ = due;
    player_->mainQueue_->asyncAfter(delay, [weak = weak_from_this(), due] {
        const auto self = weak.lock();
        if (!self || self->cuesDue_ != due) return;
        self->cuesDue_.reset();
        self->didChangeCues();
    });
}

void AVPlayerItem::didEndSeek() {
    if (!seeking_ || status_ == Status::failed) return;
    seeking_ = false;
    if (nextSeek_) return startSeek();
    target_.reset();
    applyRate();
    const auto current = events_;
    reportSeekEnd();
    if (current == events_) didChangeCues();
}

void AVPlayerItem::reportSeekEnd() {
    const auto current = events_;
    change(likelyToKeepUp_, false, "playbackLikelyToKeepUp");
    if (current != events_ || seeking_ || status_ != Status::readyToPlay) return;
    if (enough_) return reportBuffering();
    change(bufferEmpty_, true, "playbackBufferEmpty");
}

void AVPlayerItem::didChangeDuration() {
    const auto duration = playback_ ? playback_->duration() : std::nullopt;
    if (duration && duration->count() >= 0) asset_->duration_ = CMTime::of(*duration);
}

void AVPlayerItem::didChangeFrame() {
    const auto frame = newestFrame();
    const CGSize size = frame ? CGSize{frame->width * frame->pixelAspect, double(frame->height)}
                              : presentationSize_;
    const auto current = events_;
    if (std::exchange(presentationSize_, size) != size)
        observers_.notify("presentationSize", *this, {});
    if (events_ == current) didChangeCues();
    if (player_ && events_ == current) player_->frameChanged();
}

void AVPlayerItem::didPlayToEnd() {
    if (status_ != Status::readyToPlay || ended_ || seeking_) return;
    ended_ = true;
    if (player_) player_->itemStopped();
    const auto current = events_;
    const auto present = endObservers_;
    for (const EndObserver& each : present) {
        if (const auto owner = each.owner.lock()) each.block();
    }
    if (current == events_) didChangeCues();
}

void AVPlayerItem::didFail(const NSError& error) {
    if (status_ == Status::failed) return;
    error_ = error;
    nextSeek_.reset();
    target_.reset();
    if (player_) player_->itemStopped();
    changeStatus(Status::failed);
}

}  // namespace korvel::platform
