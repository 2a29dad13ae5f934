#include <korvel/platform/Device.h>
#include <korvel/platform/avfoundation/AVPlayer.h>
#include <korvel/platform/avfoundation/AVPlayerItem.h>
#include <korvel/platform/avfoundation/AVURLAsset.h>
#include <korvel/platform/foundation/FatalError.h>
#include <korvel/platform/foundation/Timer.h>
#include <korvel/player/KCSDKPlayerEventsListner.h>
#include <korvel/player/KCSDKPlayerOverlay.h>
#include <korvel/player/KCSDKPlayerView.h>
#include <korvel/player/KCSDKPlayerViewController.h>
#include <korvel/player/KCSDKPlayerViewModel.h>
#include <korvel/player/KeyLoading.h>
#include <korvel/player/PlayerStoryboard.h>
#include <korvel/player/TokenPrefetch.h>
#include <korvel/player/ViewPinning.h>

#include <algorithm>
#include <cmath>
#include <iomanip>
#include <sstream>
#include <utility>

namespace korvel {

using platform::AVPlayer;
using platform::AVPlayerItem;
using platform::AVURLAsset;
using platform::UIControlEvents;
using platform::UIControlState;
using platform::URL;

namespace {

constexpr const char* likelyToKeepUp = "playbackLikelyToKeepUp";
constexpr const char* bufferEmpty = "playbackBufferEmpty";
constexpr const char* manifestSuffix = "(format=m3u8-aapl)";
constexpr double progressInterval = 1.0 / 150;  // smooth sliders, and hosts that count on it

/// "0:12", "1:02:03".
std::string clockText(float seconds) {
    const auto whole = static_cast<std::int64_t>(std::isfinite(seconds) ? seconds : 0);
    std::ostringstream text;
    text << std::setfill('0');
    if (whole >= 3600) text << whole / 3600 << ':' << std::setw(2);
    text << whole / 60 % 60 << ':' << std::setw(2) << whole % 60;
    return text.str();
}

URL withManifestSuffix(const URL& url) {
    const auto last = url.lastPathComponent();
    if (last.find("manifest") == std::string::npos ||
        last.find(manifestSuffix) != std::string::npos) {
        return url;
    }
    const auto suffixed = URL::parse(url.absoluteString() + manifestSuffix);
    if (!suffixed) platform::fatalError("no address: " + url.absoluteString() + manifestSuffix);
    return *suffixed;
}

}  // namespace

KCSDKPlayerView::KCSDKPlayerView(const platform::Device& device,
                                 std::shared_ptr<KCSDKNetworkManager> manager)
    : device_(std::make_unique<const platform::Device>(device)),
      manager_(std::move(manager)),
      presence_(std::make_shared<PlayerPresence>()) {}

KCSDKPlayerView::~KCSDKPlayerView() {
    if (timer) timer->invalidate();
    if (keyWaiting_) keyWaiting_->close();
}

std::shared_ptr<platform::CALayer> KCSDKPlayerView::makeLayer() const {
    return platform::make<platform::AVPlayerLayer>();
}

std::shared_ptr<platform::AVPlayerLayer> KCSDKPlayerView::playerLayer() {
    return std::static_pointer_cast<platform::AVPlayerLayer>(layer());
}

std::shared_ptr<AVPlayer> KCSDKPlayerView::player() { return playerLayer()->player(); }

std::shared_ptr<KCSDKPlayerView> KCSDKPlayerView::self() {
    return std::static_pointer_cast<KCSDKPlayerView>(shared_from_this());
}

KCSDKPlayerOverlay* KCSDKPlayerView::controls() const {
    return isCustomOverlayAdded ? nullptr : overlayController.get();
}

bool KCSDKPlayerView::waitsForKey() const { return presence_->keysUnderWay > 0; }
KeyProgress KCSDKPlayerView::keyProgress() const { return presence_->progress(); }

void KCSDKPlayerView::setTokenPrefetch(std::shared_ptr<TokenPrefetch> prefetch) {
    tokenPrefetch_ = std::move(prefetch);
}

void KCSDKPlayerView::setViewModel(std::shared_ptr<KCSDKPlayerViewModel> viewModel) {
    viewModel_ = std::move(viewModel);
    presence_->hasViewModel = viewModel_ != nullptr;
}

// ------------------------------------------------------------------------------------------
// loading

void KCSDKPlayerView::loadVideo(const URL& url) {
    if (tokenPrefetch_) tokenPrefetch_->servers().noteStream(url);
    attachPlayerItem(platform::make<AVPlayerItem>(url));
}

void KCSDKPlayerView::loadProtectedVideo(const URL& url) {
    if (tokenPrefetch_) tokenPrefetch_->servers().noteStream(url);
    const auto asset = std::make_shared<AVURLAsset>(withManifestSuffix(url));
    if (!keyWaiting_) keyWaiting_ = std::make_shared<KeyWaiting>();
    keyLoading_ =
        std::make_shared<KeyLoading>(*device_, manager_, presence_, keyWaiting_, tokenPrefetch_);
    asset->resourceLoader()->setPreloadsEligibleContentKeys(tokenPrefetch_ != nullptr);
    asset->resourceLoader()->setDelegate(keyLoading_,
                                         platform::DispatchQueue::serial("Some queue"));
    attachPlayerItem(platform::make<AVPlayerItem>(asset));
}

void KCSDKPlayerView::attachPlayerItem(const std::shared_ptr<AVPlayerItem>& item) {
    item->addObserver(self(), likelyToKeepUp);
    item->addObserver(self(), bufferEmpty);
    if (const auto current = player()) {
        current->replaceCurrentItem(item);
    } else {
        const auto created = platform::make<AVPlayer>(item, *device_);
        playerLayer()->setPlayer(created);
        created->allowsExternalPlayback = true;
        created->usesExternalPlaybackWhileExternalScreenIsActive = true;
        playerLayer()->setVideoGravity(
            videoGravity.value_or(platform::AVLayerVideoGravityResizeAspectFill));
    }
    const auto weak = std::weak_ptr(self());
    timeObserver = player()->addPeriodicTimeObserver(
        platform::CMTimeMakeWithSeconds(progressInterval, platform::nanosecondTimescale), nullptr,
        [weak](platform::CMTime now) {
            if (const auto view = weak.lock()) view->updateProgress(now);
        });
    player()->currentItem()->observeDidPlayToEndTime(weak, [this] { closeBtnTapped(); });
}

// ------------------------------------------------------------------------------------------
// overlay

std::shared_ptr<KCSDKPlayerOverlay> KCSDKPlayerView::addOverlay(
    std::shared_ptr<platform::UIView> customView) {
    auto overlay =
        std::dynamic_pointer_cast<KCSDKPlayerOverlay>(playerScene(*device_, "KCSDKPlayerOverlay"));
    if (!overlay) return nullptr;
    const bool custom = customView != nullptr;
    if (custom) {
        isCustomOverlayAdded = true;
        overlay->setView(std::move(customView));
    }
    const auto view = overlay->view();
    view->setFrame(frame());
    view->setTranslatesAutoresizingMaskIntoConstraints(false);
    addSubview(view);
    pinEdges(view, self());
    bringSubviewToFront(view);
    overlayController = overlay;
    if (!custom) wireControls();
    return overlay;
}

void KCSDKPlayerView::wireControls() {
    auto& overlay = *overlayController;
    const auto view = self();
    overlay.onControlsChanged = [weak = std::weak_ptr(view)] {
        if (const auto held = weak.lock()) held->makeRoomForControls();
    };
    overlay.toggleControls();
    overlay.btnPlay->addTarget(view, &KCSDKPlayerView::changePlayerState,
                               UIControlEvents::touchUpInside);
    overlay.slider->setValue(0, true);
    overlay.slider->addTarget(
        view, &KCSDKPlayerView::sliderMoved,
        UIControlEvents::touchUpInside | UIControlEvents::touchCancel | UIControlEvents::touchDown);
    overlay.slider->addTarget(view, &KCSDKPlayerView::sliderValueChanged,
                              UIControlEvents::valueChanged);
    overlay.btnClose->addTarget(view, &KCSDKPlayerView::closeBtnTapped,
                                UIControlEvents::touchUpInside);
    overlay.slider->setAccessibilityValue([&slider = *overlay.slider.get()] {
        return clockText(slider.value()) + " of " + clockText(slider.maximumValue());
    });
    overlay.btnPlay->setAccessibilityValue([weak = std::weak_ptr(view)] {
        const auto held = weak.lock();
        const auto current = held ? held->player() : nullptr;
        return std::string(current && current->rate() != 0 ? "playing" : "paused");
    });
}

/// Nobody reads subtitles below a slider.
void KCSDKPlayerView::makeRoomForControls() {
    const auto* overlay = controls();
    if (!overlay) return;
    const auto& slider = *overlay->slider.get();
    const double covered = bounds().size.height - slider.frame().minY();
    playerLayer()->setSubtitleInset(overlay->controlsShown() ? std::max(covered, 0.) : 0);
}

// ----------------------------------------------------------------------------------------
// buffering

void KCSDKPlayerView::observeValueForKeyPath(const std::string& keyPath, platform::Object&,
                                             const platform::KeyValueChange&) {
    const auto listener = delegate.lock();
    if (keyPath == likelyToKeepUp) {
        if (listener) listener->playbackLikelyToKeepUp();
        startCounting();
        showLoader(false);
    } else if (keyPath == bufferEmpty) {
        if (listener) listener->playbackBufferEmpty();
        showLoader(true);
    }
}

void KCSDKPlayerView::showLoader(bool shown) {
    auto* overlay = controls();
    if (!overlay) return;
    overlay->viewLoader->setHidden(!shown);
    if (overlay->controlsShown()) overlay->btnPlay->setHidden(shown);
}

void KCSDKPlayerView::startCounting() {
    if (timer) return;
    timer = platform::Timer::scheduled(*device_->mainQueue, std::chrono::seconds(1), true,
                                       [weak = std::weak_ptr(self())] {
                                           if (const auto view = weak.lock()) {
                                               view->countPerformedSecond();
                                           }
                                       });
}

void KCSDKPlayerView::countPerformedSecond() {
    const auto current = player();
    if (current && current->rate() == 0) return;
    if (__builtin_add_overflow(totalPerformedTime, 1, &totalPerformedTime)) {
        platform::fatalError("performed time overflows");
    }
}

void KCSDKPlayerView::updateProgress(platform::CMTime now) {
    const auto current = player();
    const auto item = current ? current->currentItem() : nullptr;
    if (!item) return;
    const double duration = platform::CMTimeGetSeconds(item->duration());
    const double position = platform::CMTimeGetSeconds(now);
    if (!(duration >= 0) || isProgressUpdating) return;  // not a number while unknown
    if (const auto listener = delegate.lock()) {
        listener->currentVideoPositionWithDurationPlayedSeconds(static_cast<float>(position));
        listener->totalVideoDurationWithTotalDuration(static_cast<float>(duration));
    }
    if (auto* overlay = controls()) {
        overlay->slider->setMaximumValue(static_cast<float>(duration));
        overlay->slider->setValue(static_cast<float>(position));
    }
}

// -----------------------------------------------------------------------------------------
// controls

void KCSDKPlayerView::changePlayerState() {
    const auto current = player();
    const bool starts = current && current->rate() == 0;
    if (starts) {
        current->play();
    } else if (current) {
        current->pause();
    }
    if (const auto listener = delegate.lock()) listener->playerStatusWithStatus(starts ? 1 : 0);
    if (auto* overlay = controls()) {
        overlay->btnPlay->setBackgroundImage(starts ? overlay->pauseImage : overlay->playImage,
                                             UIControlState::normal);
        overlay->btnPlay->setTintColor(overlay->buttonColor);
    }
}

void KCSDKPlayerView::sliderValueChanged() {
    isProgressUpdating = true;
    auto* overlay = controls();
    if (!overlay) return;
    overlay->viewLoader->setHidden(false);
    overlay->btnPlay->setHidden(true);
    overlay->slider->setUserInteractionEnabled(false);
}

void KCSDKPlayerView::sliderMoved() {
    auto* overlay = controls();
    const auto current = player();
    if (overlay && current && current->status() == AVPlayer::Status::readyToPlay &&
        isProgressUpdating) {
        const auto timescale = current->currentItem()->asset()->duration().timescale;
        current->seek(platform::CMTimeMakeWithSeconds(overlay->slider->value(), timescale),
                      platform::kCMTimeZero, platform::kCMTimeZero);
        updateProgress(current->currentTime());
    }
    isProgressUpdating = false;
    if (overlay) overlay->slider->setUserInteractionEnabled(true);
}

bool KCSDKPlayerView::accessibilityPerformEscape() {
    const auto shownBy = controller.lock();
    const bool fullScreen = shownBy && shownBy->presentingViewController();
    if (!player() || (!controls() && !fullScreen)) return false;
    closeBtnTapped();
    return true;
}

bool KCSDKPlayerView::accessibilityPerformMagicTap() {
    if (!controls() || !player()) return false;
    changePlayerState();
    return true;
}

// ------------------------------------------------------------------------------------------
// closing

void KCSDKPlayerView::closeBtnTapped() {
    if (tellsClose_) return;
    // Taken before the listener is told, who may let go of all there is; the performance counts.
    const auto view = self();
    const auto shownBy = controller.lock();
    if (const auto listener = delegate.lock()) {
        tellsClose_ = true;
        listener->playerExitWithDuration(totalPerformedTime);
        tellsClose_ = false;
    }
    device_->mainQueue->async([weak = std::weak_ptr(view), shownBy] {
        if (const auto closing = weak.lock()) closing->finishClosing();
    });
    releasePlayerResources();
}

void KCSDKPlayerView::releasePlayerResources() {
    if (const auto current = player()) {
        if (const auto& item = current->currentItem()) {
            item->removeObserver(*this, likelyToKeepUp);
            item->removeObserver(*this, bufferEmpty);
        }
        if (timeObserver) current->removeTimeObserver(timeObserver);
    }
    timeObserver = nullptr;
    if (timer) timer->invalidate();  // kept: a view that has closed counts no more
}

void KCSDKPlayerView::finishClosing() {
    if (const auto current = player()) current->pause();
    playerLayer()->setPlayer(nullptr);
    if (const auto waiting = std::exchange(keyWaiting_, nullptr)) waiting->close();
    overlayController = nullptr;
    removeFromSuperview();
    if (!closePlayerCallback) platform::fatalError("a player closed without a close callback");
    const auto callback = closePlayerCallback;  // it may replace or let go of itself
    callback(totalPerformedTime);
}

}  // namespace korvel
