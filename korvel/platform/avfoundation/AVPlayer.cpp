#include <korvel/platform/avfoundation/AVPlayer.h>

#include <algorithm>
#include <utility>

namespace korvel::platform {

using std::chrono::nanoseconds;

namespace {

class TimeObserver final : public Object {};

}  // namespace

AVPlayer::~AVPlayer() {
    for (const auto& [token, ticks] : timeObservers_) mainQueue_->cancel(ticks);
    close();
}

void AVPlayer::open(std::shared_ptr<AVPlayerItem> item) {
    item_ = std::move(item);
    if (!item_) return;
    item_->asset()->resourceLoader()->setContentKeySystem(keySystem_);
    item_->open(*this);
    applyVolume();
    item_->setRate(rate_);
}

void AVPlayer::close() {
    const auto item = std::exchange(item_, nullptr);
    if (item && item->player_ == this) item->close();
}

void AVPlayer::replaceCurrentItem(std::shared_ptr<AVPlayerItem> item) {
    if (item == item_) return;
    close();
    open(std::move(item));
    frameChanged();
}

AVPlayer::Status AVPlayer::status() const { return item_ ? item_->status() : Status::unknown; }

void AVPlayer::setRate(float rate) {
    rate_ = rate > 0 ? rate : 0;
    const auto item = item_;
    if (!item) return;
    if (item->ended_ || item->status() == Status::failed) rate_ = 0;
    item->setRate(rate_);
}

void AVPlayer::setVolume(float volume) {
    volume_ = volume > 0 ? std::min(volume, 1.F) : 0;
    applyVolume();
}

void AVPlayer::setMuted(bool muted) {
    muted_ = muted;
    applyVolume();
}

void AVPlayer::applyVolume() {
    if (item_) item_->setVolume(muted_ ? 0 : volume_);
}

CMTime AVPlayer::currentTime() const { return item_ ? item_->currentTime() : kCMTimeZero; }

void AVPlayer::seek(CMTime to, CMTime, CMTime) {
    switch (to.kind) {
        case CMTime::Kind::numeric:
            if (item_) item_->seek(to.nanoseconds());
            break;
        case CMTime::Kind::positiveInfinity:
            if (item_) item_->seek(nanoseconds::max());
            break;
        case CMTime::Kind::negativeInfinity:
            if (item_) item_->seek(nanoseconds::zero());
            break;
        case CMTime::Kind::invalid:
        case CMTime::Kind::indefinite:
            break;
    }
}

std::shared_ptr<Object> AVPlayer::addPeriodicTimeObserver(CMTime interval,
                                                          std::shared_ptr<DispatchQueue> queue,
                                                          std::function<void(CMTime)> block) {
    const nanoseconds period = interval.nanoseconds();
    if (period <= nanoseconds::zero() || !block) return nullptr;
    auto tick = [weak = weak_from_this(), queue = std::move(queue),
                 shared = std::make_shared<const std::function<void(CMTime)>>(std::move(block))] {
        const auto self = weak.lock();
        if (!self) return;
        if (!queue) return (*shared)(self->currentTime());
        queue->async([shared, time = self->currentTime()] { (*shared)(time); });
    };
    auto token = std::make_shared<TimeObserver>();
    // 1/150 s rounded up to whole nanoseconds would make 149 ticks in a second.
    timeObservers_[token] = mainQueue_->every(period - nanoseconds(1), std::move(tick));
    return token;
}

void AVPlayer::removeTimeObserver(const std::shared_ptr<Object>& token) {
    const auto found = timeObservers_.find(token);
    if (found == timeObservers_.end()) return;
    const auto ticks = found->second;
    timeObservers_.erase(found);
    mainQueue_->cancel(ticks);
}

std::shared_ptr<const VideoFrame> AVPlayer::newestFrame() const {
    return item_ ? item_->newestFrame() : nullptr;
}

void AVPlayer::observeFrames(std::weak_ptr<void> owner, std::function<void()> block) {
    std::erase_if(frameObservers_, [](const auto& each) { return each.owner.expired(); });
    frameObservers_.push_back({std::move(owner), std::move(block)});
}

void AVPlayer::frameChanged() {
    const auto present = frameObservers_;
    for (const FrameObserver& each : present) {
        if (const auto owner = each.owner.lock()) each.block();
    }
}

void AVPlayer::itemStopped() { setRate(0); }

}  // namespace korvel::platform
