#pragma once

#include <korvel/platform/foundation/Object.h>
#include <korvel/platform/foundation/SharedObject.h>
#include <korvel/platform/uikit/CGRect.h>

#include <memory>
#include <optional>

namespace korvel {

namespace platform {
class UIView;
}
class KCSDKPlayerView;
class KCSDKPlayerViewController;

/// The host's remote control of one player. Keeping it keeps the player's controller and the parent
/// view, so that the player plays on, unseen, when what showed them has gone; letting go of it
/// stops nothing. Main queue.
///
/// Let go of it once the player has closed: play and pause then still tell status 0, `stopVideo`
/// reports and records again, `enterFullScreen` presents an empty black controller,
/// `exitFullScreen` reports an exit and puts a black view into the parent. The others do nothing
/// then.
class KORVEL_API KCSDKPlayerEvents : public platform::Object,
                                     public platform::SharedObject<KCSDKPlayerEvents> {
public:
    /// Made by the builder. `parent`: null for a player started full screen.
    KCSDKPlayerEvents(std::shared_ptr<KCSDKPlayerViewController> controller,
                      std::shared_ptr<platform::UIView> parent);
    ~KCSDKPlayerEvents() override;

    const std::shared_ptr<KCSDKPlayerViewController> playerVC;
    const std::shared_ptr<platform::UIView> parentView;
    std::optional<platform::CGRect> parentFrame;  ///< noted at the last exit from full screen

    /// Both flip between playing and paused, as the overlay's button does: hosts have come to rely
    /// on one button calling either. The listener is told 1 or 0.
    void playVideo();
    void pauseVideo();
    /// As the close button, and the player's view goes at once. Not guarded against a second call,
    /// which reports and tracks again; but from within the exit that it reports it closes nothing.
    void stopVideo();
    /// Both flip between shown and hidden. Nothing happens over an overlay of the host's own.
    void showOverlayView();
    void hideOverlayView();
    /// Presents the player over the key window's top controller, in landscape. Without one the
    /// player is left out of its parent and not shown.
    void enterFullScreen();
    /// Returns to portrait and to the parent view; reports an exit although nothing closed, and
    /// does nothing from within that. A player that was started full screen has no parent: it plays
    /// on, unseen and with sound, until it is stopped or at its end.
    void exitFullScreen();
    /// Exactly there, or to the nearest end of the stream; while that loads, as soon as it is
    /// ready. What is no number, and a stream that failed, is ignored. The slider follows by
    /// itself.
    void seekTo(float timeValue);

private:
    std::shared_ptr<KCSDKPlayerView> player() const;
    void togglePlayback();
    void toggleOverlay();
    void embedAgain();

    bool tellsExit_ = false;
};

}  // namespace korvel
