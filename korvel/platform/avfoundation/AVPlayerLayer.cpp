#include <korvel/platform/avfoundation/AVPlayerLayer.h>

#include <utility>

namespace korvel::platform {

/// Cues change without a picture, too: when subtitles are chosen while the class is paused.
class AVPlayerLayer::CueObserver final : public KeyValueObserver {
public:
    explicit CueObserver(AVPlayerLayer& layer) : layer_(layer) {}
    void observeValueForKeyPath(const std::string&, Object&, const KeyValueChange&) override {
        if (layer_.showsSubtitles_) layer_.setNeedsDisplay();
    }

private:
    AVPlayerLayer& layer_;
};

AVPlayerLayer::AVPlayerLayer() : cueObserver_(std::make_shared<CueObserver>(*this)) {}
AVPlayerLayer::~AVPlayerLayer() = default;

void AVPlayerLayer::setPlayer(std::shared_ptr<AVPlayer> player) {
    if (player == player_) return;
    const auto former = std::exchange(player_, std::move(player));
    if (player_) {
        player_->observeFrames(weak_from_this(), [this, shown = player_.get()] {
            if (player_.get() != shown) return;
            follow(player_->currentItem());
            setNeedsDisplay();
        });
    }
    follow(player_ ? player_->currentItem() : nullptr);
    setNeedsDisplay();
}

void AVPlayerLayer::follow(const std::shared_ptr<AVPlayerItem>& item) {
    const auto former = item_.lock();
    if (former == item) return;
    if (former) former->removeObserver(*cueObserver_, "cues");
    if (item) item->addObserver(cueObserver_, "cues");
    item_ = item;
}

void AVPlayerLayer::setVideoGravity(AVLayerVideoGravity gravity) {
    if (std::exchange(videoGravity_, gravity) != gravity) setNeedsDisplay();
}

void AVPlayerLayer::setShowsSubtitles(bool shows) {
    if (std::exchange(showsSubtitles_, shows) != shows) setNeedsDisplay();
}

void AVPlayerLayer::setSubtitleInset(double inset) {
    if (std::exchange(subtitleInset_, inset) != inset) setNeedsDisplay();
}

const std::vector<AVSubtitleCue>& AVPlayerLayer::cues() const {
    static const std::vector<AVSubtitleCue> none;
    const auto& item = player_ ? player_->currentItem() : nullptr;
    return item && showsSubtitles_ ? item->cues() : none;
}

std::shared_ptr<const VideoFrame> AVPlayerLayer::newestFrame() const {
    return player_ ? player_->newestFrame() : nullptr;
}

}  // namespace korvel::platform
