#pragma once

#include <korvel/platform/foundation/FatalError.h>
#include <korvel/platform/uikit/UIButton.h>
#include <korvel/platform/uikit/UILabel.h>
#include <korvel/platform/uikit/UISlider.h>
#include <korvel/platform/uikit/UITapGestureRecognizer.h>
#include <korvel/platform/uikit/UIViewController.h>

#include <functional>
#include <memory>
#include <optional>
#include <string>

namespace korvel {

class KCSDKPlayerViewModel;
class KCSDKVideoViewBuilder;

/// A view of the storyboard's scene, held weakly. Using one that is not connected ends the process:
/// the scene is the SDK's own and always has it.
template <class View> class Outlet {
public:
    explicit Outlet(const char* name) : name_(name) {}

    void connect(std::string_view name, const std::shared_ptr<platform::UIView>& view) {
        if (name == name_) view_ = std::dynamic_pointer_cast<View>(view);
    }
    std::shared_ptr<View> operator->() const { return get(); }
    std::shared_ptr<View> get() const {
        auto view = view_.lock();
        if (!view) platform::fatalError(std::string("outlet not connected: ") + name_);
        return view;
    }
    /// Null if it is not connected: for whoever only looks.
    std::shared_ptr<View> find() const { return view_.lock(); }

private:
    const char* name_;
    std::weak_ptr<View> view_;
};

/// The SDK's controls over the video. It shows and hides them, and nothing else: the player view
/// wires and updates them, the builder gives them their look. Over a host's own overlay it exists
/// as well, with that as its view: no outlet is connected, and using one ends the process. Main
/// queue.
class KORVEL_API KCSDKPlayerOverlay : public platform::UIViewController {
public:
    KCSDKPlayerOverlay();
    ~KCSDKPlayerOverlay() override;

    // Kept for hosts that hang their own on them; the SDK neither sets nor reads these two.
    std::shared_ptr<KCSDKPlayerViewModel> viewModel;
    std::shared_ptr<KCSDKVideoViewBuilder> playerConfig;

    Outlet<platform::UIView> viewTap{
        "viewTap"};  ///< its alpha tells whether the controls are shown
    Outlet<platform::UIButton> btnPlay{"btnPlay"};
    Outlet<platform::UIButton> btnClose{"btnClose"};
    Outlet<platform::UISlider> slider{"slider"};  ///< seconds
    Outlet<platform::UILabel> lblTitle{"lblTitle"};
    Outlet<platform::UIView> viewLoader{"viewLoader"};

    std::optional<platform::UIImage> playImage;   ///< shown while paused
    std::optional<platform::UIImage> pauseImage;  ///< shown while playing
    std::optional<platform::UIColor> buttonColor;

    /// Shows the controls if they are hidden, hides them if they are shown.
    void toggleControls();
    std::function<void()> onControlsChanged;  ///< runs after they were shown, hidden or laid out
    bool controlsShown() const;
    /// `sender`: null where no touch led here.
    void didTapWithSender(platform::UITapGestureRecognizer* sender);

    void viewDidLoad() override;
    void viewDidLayoutSubviews() override;
    void setOutlet(std::string_view name, const std::shared_ptr<platform::UIView>& view) override;
};

}  // namespace korvel
