#pragma once

#include <korvel/platform/avfoundation/AVPlayerLayer.h>
#include <korvel/platform/foundation/KeyValueObserving.h>
#include <korvel/platform/foundation/URL.h>
#include <korvel/platform/uikit/UIView.h>
#include <korvel/player/KeyProgress.h>

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>

namespace korvel {

namespace platform {
class AVAssetResourceLoaderDelegate;
class AVPlayer;
class AVPlayerItem;
struct Device;
class Timer;
}  // namespace platform

class KCSDKNetworkManager;
class KCSDKPlayerEvents;
class KCSDKPlayerEventsListner;
class KCSDKPlayerOverlay;
class KCSDKPlayerViewController;
class KCSDKPlayerViewModel;
class KeyWaiting;
class TokenPrefetch;
struct PlayerPresence;

/// Shows a class: loads the stream, drives the overlay's controls, counts the seconds performed,
/// and tells the listener. It never starts playback by itself, and it does not watch for a stream
/// that fails. Main queue; closures it hands out hold it weakly.
class KORVEL_API KCSDKPlayerView : public platform::UIView, public platform::KeyValueObserver {
public:
    KCSDKPlayerView(const platform::Device& device, std::shared_ptr<KCSDKNetworkManager> manager);
    ~KCSDKPlayerView() override;

    /// Empty: the picture fills the view and is cut off. Read at the first load, which a builder
    /// has done by the time that it hands the player over: from then on `playerLayer` takes it.
    std::optional<platform::AVLayerVideoGravity> videoGravity;
    std::shared_ptr<KCSDKPlayerOverlay> overlayController;
    std::shared_ptr<KCSDKPlayerEvents> eventListner;  ///< kept, not read
    std::shared_ptr<platform::Object> timeObserver;
    std::shared_ptr<platform::Timer> timer;
    /// Ticks of one second during which the rate was not zero, waiting for the buffer included.
    /// Counted from the first time the stream was likely to keep up, over all loads.
    std::int64_t totalPerformedTime = 0;
    /// Called when the view has closed. Closing without one ends the process.
    std::function<void(std::int64_t performedSeconds)> closePlayerCallback;
    bool isProgressUpdating = false;  ///< the slider is being dragged
    bool isCustomOverlayAdded = false;
    std::optional<std::string> bearerToken;  ///< kept, not read
    std::optional<std::string> classTag;
    std::weak_ptr<KCSDKPlayerEventsListner> delegate;
    /// Whose player this is. Lives until a close that was begun has ended, whoever lets go of it.
    std::weak_ptr<KCSDKPlayerViewController> controller;

    const std::shared_ptr<KCSDKPlayerViewModel>& viewModel() const { return viewModel_; }
    /// Keys of protected streams are asked for only with one.
    void setViewModel(std::shared_ptr<KCSDKPlayerViewModel> viewModel);

    /// Of the loads from here on: the token is taken from there, and keys are asked for as soon as
    /// a playlist names them. Null: both when they are wanted.
    void setTokenPrefetch(std::shared_ptr<TokenPrefetch> prefetch);
    void loadVideo(const platform::URL& url);
    /// With content keys. A last path component with "manifest" in it gets the format suffix that
    /// the streaming service wants.
    void loadProtectedVideo(const platform::URL& url);
    /// Puts the SDK's controls, or the host's `customView`, over the picture. Null if the device
    /// has no SDK bundle. Over a custom view nothing is wired, styled or updated; the controller is
    /// returned all the same.
    std::shared_ptr<KCSDKPlayerOverlay> addOverlay(std::shared_ptr<platform::UIView> customView);

    std::shared_ptr<platform::AVPlayerLayer> playerLayer();
    std::shared_ptr<platform::AVPlayer> player();  ///< null before a load and after closing

    /// A content key was asked for and has not come. Any thread.
    bool waitsForKey() const;
    KeyProgress keyProgress() const;  ///< any thread

    // Targets of the controls.
    /// Tells the exit at once; picture, overlay and view go with the next turn of the main queue. A
    /// view without a controller that is gone by then does nothing more. Does nothing within the
    /// listener's call that it makes itself.
    void closeBtnTapped();
    void changePlayerState();
    void sliderMoved();
    void sliderValueChanged();
    void observeValueForKeyPath(const std::string& keyPath, platform::Object& object,
                                const platform::KeyValueChange& change) override;
    // Under the SDK's own controls, as the close and the play button; a host's overlay decides for
    // itself, but nobody is to be caught in full screen.
    bool accessibilityPerformEscape() override;
    bool accessibilityPerformMagicTap() override;

protected:
    std::shared_ptr<platform::CALayer> makeLayer() const override;

private:
    std::shared_ptr<KCSDKPlayerView> self();
    KCSDKPlayerOverlay* controls() const;  ///< null over a custom view, too
    void attachPlayerItem(const std::shared_ptr<platform::AVPlayerItem>& item);
    void wireControls();
    void updateProgress(platform::CMTime now);
    void countPerformedSecond();
    void startCounting();
    void showLoader(bool shown);
    void makeRoomForControls();
    void releasePlayerResources();
    void finishClosing();

    const std::unique_ptr<const platform::Device> device_;
    const std::shared_ptr<KCSDKNetworkManager> manager_;
    std::shared_ptr<KCSDKPlayerViewModel> viewModel_;
    const std::shared_ptr<PlayerPresence> presence_;
    std::shared_ptr<KeyWaiting> keyWaiting_;  ///< of the player that is open
    std::shared_ptr<platform::AVAssetResourceLoaderDelegate> keyLoading_;
    std::shared_ptr<TokenPrefetch> tokenPrefetch_;
    bool tellsClose_ = false;
};

}  // namespace korvel
