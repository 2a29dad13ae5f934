#pragma once

#include <korvel/player/KCSDKPlayerEventsListner.h>

namespace korvel::qml {

class PlayerItem;

/// Hands one player's events to its item. GUI thread.
class PlayerListener final : public KCSDKPlayerEventsListner {
public:
    explicit PlayerListener(PlayerItem& item) : item_(&item) {}
    /// Nothing more is handed on.
    void leave() { item_ = nullptr; }

    void playerStatusWithStatus(std::int64_t status) override;
    void playerExitWithDuration(std::int64_t duration) override;
    void currentVideoPositionWithDurationPlayedSeconds(float seconds) override;
    void totalVideoDurationWithTotalDuration(float seconds) override;
    void playbackBufferEmpty() override;
    void playbackLikelyToKeepUp() override;

private:
    PlayerItem* item_;
};

}  // namespace korvel::qml
