#pragma once

#include <korvel/platform/uikit/UIViewController.h>

#include <memory>

namespace korvel {

namespace platform {
struct Device;
}
class KCSDKPlayerView;
class KCSDKPlayerViewModel;
class KCSDKVideoViewBuilder;

/// Holds the player view. Owned by whoever shows it: the parent view or the presentation, with
/// which the player goes silently; shown by nobody, by itself until it is closed. Portrait only, or
/// landscape only while the facade's full-screen flag is set; the flag is read at each question.
/// Main queue.
class KORVEL_API KCSDKPlayerViewController : public platform::UIViewController {
public:
    KCSDKPlayerViewController();
    ~KCSDKPlayerViewController() override;

    std::shared_ptr<KCSDKPlayerViewModel> viewModel;
    std::shared_ptr<KCSDKVideoViewBuilder> playerConfig;
    std::shared_ptr<KCSDKPlayerView> viewVideo;

    /// The storyboard's scene, or a plain one if the bundle has none; its view is loaded, and
    /// black. With the full-screen flag set, loading turns the device to landscape.
    static std::shared_ptr<KCSDKPlayerViewController> instantiate(
        const platform::Device& device, std::shared_ptr<KCSDKVideoViewBuilder> playerConfig,
        std::shared_ptr<KCSDKPlayerViewModel> viewModel);

    /// Whether it owns itself. For players without a parent view that are not presented either.
    void setOwnsItself(bool owns);

    platform::UIInterfaceOrientationMask supportedInterfaceOrientations() const override;
    bool shouldAutorotate() const override;
    void viewDidLoad() override;
    void viewWillLayoutSubviews() override;

private:
    std::shared_ptr<KCSDKPlayerViewController> itself_;
};

}  // namespace korvel
