#include <korvel/platform/avfoundation/AVPlayer.h>
#include <korvel/platform/avfoundation/AVPlayerItem.h>
#include <korvel/platform/avfoundation/AVURLAsset.h>
#include <korvel/platform/uikit/UIDevice.h>
#include <korvel/player/KCSDKPlayerEventsListner.h>
#include <korvel/player/KCSDKPlayerOverlay.h>
#include <korvel/player/KCSDKPlayerView.h>
#include <korvel/player/KCSDKPlayerViewController.h>
#include <korvel/player/ViewPinning.h>
#include <korvel/presentation/KCSDKPlayerEvents.h>
#include <korvel/presentation/TopViewController.h>
#include <korvel/sdk/KCSDK.h>

#include <utility>

namespace korvel {

using platform::UIDevice;
using platform::UIView;

KCSDKPlayerEvents::KCSDKPlayerEvents(std::shared_ptr<KCSDKPlayerViewController> controller,
                                     std::shared_ptr<UIView> parent)
    : playerVC(std::move(controller)), parentView(std::move(parent)) {}

KCSDKPlayerEvents::~KCSDKPlayerEvents() = default;

std::shared_ptr<KCSDKPlayerView> KCSDKPlayerEvents::player() const { return playerVC->viewVideo; }

void KCSDKPlayerEvents::togglePlayback() {
    if (const auto view = player()) view->changePlayerState();
}

void KCSDKPlayerEvents::playVideo() { togglePlayback(); }
void KCSDKPlayerEvents::pauseVideo() { togglePlayback(); }

void KCSDKPlayerEvents::stopVideo() {
    if (const auto view = player()) {
        view->closeBtnTapped();
        view->removeFromSuperview();
    }
}

void KCSDKPlayerEvents::toggleOverlay() {
    const auto view = player();
    if (!view || !view->overlayController || view->isCustomOverlayAdded) return;
    view->overlayController->toggleControls();
}

void KCSDKPlayerEvents::showOverlayView() { toggleOverlay(); }
void KCSDKPlayerEvents::hideOverlayView() { toggleOverlay(); }

void KCSDKPlayerEvents::enterFullScreen() {
    const auto self = shared_from_this();  // its owner may let go of it when the device turns
    if (!player()) return;
    playerVC->view()->removeFromSuperview();
    KCSDK::shared().enablefullscreenVideo = true;
    UIDevice::current().setValue(UIDevice::orientationLandscapeRight, "orientation");
    // Or has answered the turn with leaving full screen.
    if (!player() || !KCSDK::shared().enablefullscreenVideo) return;
    if (const auto top = topViewControllerOfKeyWindow()) top->present(playerVC, true);
    if (playerVC->presentingViewController()) playerVC->setOwnsItself(false);
}

void KCSDKPlayerEvents::exitFullScreen() {
    const auto self = shared_from_this();  // its owner may let go of it when told the exit
    const auto view = player();
    if (!view || tellsExit_) return;
    const bool hadPlayer = view->player() != nullptr;
    KCSDK::shared().enablefullscreenVideo = false;
    parentFrame = parentView ? std::optional(parentView->frame()) : std::nullopt;
    UIDevice::current().setValue(UIDevice::orientationPortrait, "orientation");
    if (const auto listener = view->delegate.lock()) {
        tellsExit_ = true;
        listener->playerExitWithDuration(view->totalPerformedTime);
        tellsExit_ = false;
    }
    if (!parentView && view->player()) playerVC->setOwnsItself(true);
    UIView::animate(0, [this, &self, &view, hadPlayer] {
        const auto shown = playerVC->view();
        shown->setTransform(shown->transform().rotated(0));
        if (!parentView) return playerVC->dismiss(true);
        playerVC->dismiss(false, [self, view, hadPlayer] {
            const bool closedMeanwhile = hadPlayer && !view->player();
            if (!closedMeanwhile) self->embedAgain();
        });
    });
}

void KCSDKPlayerEvents::embedAgain() {
    const auto shown = playerVC->view();
    shown->setFrame(parentFrame.value_or(platform::CGRect{}));
    parentView->addSubview(shown);
    if (const auto view = player()) pin(view, shown);
    parentView->bringSubviewToFront(shown);
}

void KCSDKPlayerEvents::seekTo(float timeValue) {
    const auto view = player();
    const auto avPlayer = view ? view->player() : nullptr;
    const auto item = avPlayer ? avPlayer->currentItem() : nullptr;
    if (!item) return;
    avPlayer->seek(platform::CMTimeMakeWithSeconds(timeValue, item->asset()->duration().timescale),
                   platform::kCMTimeZero, platform::kCMTimeZero);
}

}  // namespace korvel
