#include <korvel/platform/avfoundation/AVPlayerItem.h>
#include <korvel/platform/avfoundation/MediaEvents.h>

#include <utility>

namespace korvel::platform {

MediaEvents::MediaEvents(std::weak_ptr<AVPlayerItem> item, std::weak_ptr<MainQueue> mainQueue,
                         std::shared_ptr<const Clock> clock)
    : item_(std::move(item)), mainQueue_(std::move(mainQueue)), clock_(std::move(clock)) {}

void MediaEvents::post(std::function<void(AVPlayerItem&)> report) {
    const auto queue = mainQueue_.lock();
    if (!queue) return;
    queue->async([self = shared_from_this(), report = std::move(report)] {
        const auto item = self->item_.lock();
        if (item && item->hears(*self)) report(*item);
    });
}

void MediaEvents::took(MediaStep step) {
    post([step, now = clock_->now()](AVPlayerItem& item) { item.didTake(step, now); });
}

void MediaEvents::ready() {
    took(MediaStep::picture);
    post([](AVPlayerItem& item) { item.didBecomeReady(); });
}

void MediaEvents::buffered(bool enough) {
    post([enough](AVPlayerItem& item) { item.didBuffer(enough); });
}

void MediaEvents::loadedChanged() {
    if (loadReported_.exchange(true)) return;  // as with pictures
    post([self = shared_from_this()](AVPlayerItem& item) {
        self->loadReported_ = false;
        item.didLoad();
    });
}

void MediaEvents::cuesChanged() {
    post([](AVPlayerItem& item) { item.didChangeCues(); });
}

void MediaEvents::seekEnded() {
    post([](AVPlayerItem& item) { item.didEndSeek(); });
}

void MediaEvents::durationChanged() {
    post([](AVPlayerItem& item) { item.didChangeDuration(); });
}

void MediaEvents::frameChanged() {
    if (frameReported_.exchange(true)) return;  // one on its way tells of the newest, too
    post([self = shared_from_this()](AVPlayerItem& item) {
        self->frameReported_ = false;
        item.didChangeFrame();
    });
}

void MediaEvents::playedToEnd() {
    post([](AVPlayerItem& item) { item.didPlayToEnd(); });
}

void MediaEvents::failed(NSError error) {
    post([error = std::move(error)](AVPlayerItem& item) { item.didFail(error); });
}

}  // namespace korvel::platform
