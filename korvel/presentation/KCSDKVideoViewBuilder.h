#pragma once

#include <korvel/platform/foundation/NSError.h>
#include <korvel/platform/foundation/SharedObject.h>
#include <korvel/platform/uikit/UIColor.h>
#include <korvel/platform/uikit/UIFont.h>
#include <korvel/platform/uikit/UIImage.h>

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>

namespace korvel {

namespace platform {
class UIView;
}
using platform::UIColor;
using platform::UIFont;
using platform::UIImage;

class Conduct;
class KCSDKOndemandClass;
class KCSDKPlayerEvents;
class KCSDKPlayerEventsListner;
class KCSDKPlayerOverlay;
class KCSDKPlayerView;
class KCSDKPlayerViewController;
class KCSDKPlayerViewModel;
class StartDirection;

/// Describes a player's look and starts one class. May start again when no player came of it: after
/// the consent was given, say. Main queue.
class KORVEL_API KCSDKVideoViewBuilder : public platform::Object,
                                         public platform::SharedObject<KCSDKVideoViewBuilder> {
public:
    using StartCompletion =
        std::function<void(std::shared_ptr<KCSDKPlayerEvents>, std::optional<NSError>)>;

    /// A builder of that class; the only way to one.
    static std::shared_ptr<KCSDKVideoViewBuilder> create(
        std::shared_ptr<KCSDKOndemandClass> ondemandClassInfo);
    explicit KCSDKVideoViewBuilder(std::shared_ptr<KCSDKOndemandClass> ondemandClassInfo);
    ~KCSDKVideoViewBuilder() override;

    // Setters store; nothing shows before the start. The last one to set a colour wins.
    void setPlayButtonImage(UIImage image) { playImage = std::move(image); }
    void setPauseButtonImage(UIImage image) { pauseImage = std::move(image); }
    void setPlayPauseButtonColor(UIColor color) { buttonColor = color; }
    void setExitButtonImage(UIImage image) { closeImage = std::move(image); }
    void setExitButtonColor(UIColor color) { closeButtonColor = color; }
    void setProgressSliderTintColor(std::optional<UIColor> mincolor,
                                    std::optional<UIColor> maxcolor,
                                    std::optional<UIColor> thumbtint,
                                    std::optional<UIColor> tintColor);  ///< absent: none
    void setTitleTextColor(UIColor color) { titleTextColor = color; }
    void setTitleFont(UIFont font) { titleFont = std::move(font); }
    void setAutoPlay(bool enable) { autoPlay = enable; }
    /// Buttons, slider and title; not the slider's tracks and thumb.
    void setThemeColor(UIColor color);
    void setShowHideDuration(double duration) {
        showHideDuration = duration;
    }  ///< no visible effect
    /// Held strongly, and the player holds the builder: a receiver that keeps the events object
    /// must let go of it at the exit, or neither ever goes. A player hears of the receiver that was
    /// set when it started; another one set later is not told, and the first one may go with it.
    void setEventReceiver(std::shared_ptr<KCSDKPlayerEventsListner> receiver);

    /// Asks the service to perform the class, then shows it: embedded in `parentView`, or full
    /// screen if that is null; under the SDK's controls, or the host's `overlayView` if that is
    /// given.
    ///
    /// `completionBlock` runs on the main queue, at most once, and must not throw. Error 601: the
    /// user must consent first (see `KCSDKNetworkManager::performClass`). Neither events nor error:
    /// the service knows no such class, or its answer holds none. Never: no connection, or before
    /// `KCSDK::initialize`. Afterwards, without a class, it runs at once, on the caller's thread,
    /// with an error of empty domain and code 0. A record whose stream has no address ends the
    /// process.
    ///
    /// A start cannot be taken back, and keeps both views until its answer came. An embedded player
    /// lives as long as its parent view, a presented one as long as it is presented: with these it
    /// goes silently. One that nothing shows, for want of a window, lives until it is closed.
    void startVideoIn(std::shared_ptr<platform::UIView> parentView,
                      std::shared_ptr<platform::UIView> overlayView,
                      StartCompletion completionBlock);

    /// For rooms of the SDK: the same start, told in full. There must be a class; `conduct` may be
    /// null, and goes with the start.
    void start(std::shared_ptr<platform::UIView> parentView,
               std::shared_ptr<platform::UIView> overlayView,
               std::shared_ptr<StartDirection> direction, std::shared_ptr<Conduct> conduct);

    // The state behind the setters. The default pictures are crossed on purpose: the one shown
    // while a class waits to be played is the bundle's "pause", the one shown when it starts by
    // itself is "play".
    UIImage playImage;
    UIImage pauseImage;
    UIImage closeImage;
    std::optional<UIColor> buttonColor;
    std::optional<UIColor> closeButtonColor;
    std::optional<UIColor> sliderMinTrackColor;
    std::optional<UIColor> sliderMaxTrackColor;
    std::optional<UIColor> sliderThumbTintColor;
    std::optional<UIColor> sliderTintColor;
    UIFont titleFont = UIFont::boldSystemFont(28);
    UIColor titleTextColor = UIColor::white();
    std::string classTitle;                         ///< of the record that the service returned
    std::shared_ptr<platform::UIView> overlayView;  ///< kept, not used
    std::optional<double> showHideDuration;         ///< kept, not used: controls always fade in 1 s
    const std::shared_ptr<KCSDKOndemandClass> ondemandClass;
    bool isFullScreenEnabled = true;          ///< written at the start, not used
    bool isCustomOverlayViewPresent = false;  ///< kept, not used
    std::shared_ptr<KCSDKPlayerEventsListner> eventReceiver;
    bool autoPlay = true;

private:
    struct Start;
    void show(Start& start, std::shared_ptr<KCSDKOndemandClass> performed);
    void style(KCSDKPlayerOverlay& overlay) const;
    void begin(KCSDKPlayerView& view, KCSDKPlayerOverlay* styled) const;
    std::shared_ptr<KCSDKPlayerViewController> makeController(
        const Start& start, const std::shared_ptr<KCSDKPlayerView>& view);
};

}  // namespace korvel
