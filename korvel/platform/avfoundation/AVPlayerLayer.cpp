#include <korvel/platform/avfoundation/AVPlayerLayer.h>

#include <utility>

namespace korvel::platform {

AVPlayerLayer::AVPlayerLayer() = default;
AVPlayerLayer::~AVPlayerLayer() = default;

void AVPlayerLayer::setPlayer(std::shared_ptr<AVPlayer> player) {
    if (player == player_) return;
    const auto former = std::exchange(player_, std::move(player));
    if (player_) {
        player_->observeFrames(weak_from_this(), [this, shown = player_.get()] {
            if (player_.get() == shown) setNeedsDisplay();
        });
    }
    setNeedsDisplay();
}

void AVPlayerLayer::setVideoGravity(AVLayerVideoGravity gravity) {
    if (std::exchange(videoGravity_, gravity) != gravity) setNeedsDisplay();
}

std::shared_ptr<const VideoFrame> AVPlayerLayer::newestFrame() const {
    return player_ ? player_->newestFrame() : nullptr;
}

}  // namespace korvel::platform
