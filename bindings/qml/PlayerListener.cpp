#include <bindings/qml/PlayerItem.h>
#include <bindings/qml/PlayerListener.h>

namespace korvel::qml {

// A handler of any signal may end the player, which takes the item away.

void PlayerListener::playerStatusWithStatus(std::int64_t status) {
    if (item_) item_->set(item_->playing_, status == 1, &PlayerItem::playingChanged);
    if (item_) Q_EMIT item_->statusChanged(status == 1);
}

void PlayerListener::playerExitWithDuration(std::int64_t duration) {
    if (item_) item_->exit(static_cast<int>(duration));
}

void PlayerListener::currentVideoPositionWithDurationPlayedSeconds(float seconds) {
    if (item_) item_->setTime(item_->position_, seconds, &PlayerItem::positionChanged);
    if (item_) item_->updatePerformed();
}

void PlayerListener::totalVideoDurationWithTotalDuration(float seconds) {
    if (item_) item_->setTime(item_->duration_, seconds, &PlayerItem::durationChanged);
}

void PlayerListener::playbackBufferEmpty() {
    if (item_) item_->set(item_->buffering_, true, &PlayerItem::bufferingChanged);
    if (item_) Q_EMIT item_->bufferEmpty();
}

void PlayerListener::playbackLikelyToKeepUp() {
    if (item_) item_->set(item_->buffering_, false, &PlayerItem::bufferingChanged);
    if (item_) Q_EMIT item_->likelyToKeepUp();
}

}  // namespace korvel::qml
