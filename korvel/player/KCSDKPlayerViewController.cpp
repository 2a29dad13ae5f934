#include <korvel/platform/uikit/UIDevice.h>
#include <korvel/player/KCSDKPlayerView.h>
#include <korvel/player/KCSDKPlayerViewController.h>
#include <korvel/player/KCSDKPlayerViewModel.h>
#include <korvel/player/PlayerStoryboard.h>
#include <korvel/sdk/KCSDK.h>

#include <utility>

namespace korvel {

KCSDKPlayerViewController::KCSDKPlayerViewController() = default;
KCSDKPlayerViewController::~KCSDKPlayerViewController() = default;

std::shared_ptr<KCSDKPlayerViewController> KCSDKPlayerViewController::instantiate(
    const platform::Device& device, std::shared_ptr<KCSDKVideoViewBuilder> playerConfig,
    std::shared_ptr<KCSDKPlayerViewModel> viewModel) {
    auto controller = std::dynamic_pointer_cast<KCSDKPlayerViewController>(
        playerScene(device, "KCSDKPlayerViewController"));
    if (!controller) controller = platform::make<KCSDKPlayerViewController>();
    controller->view()->setBackgroundColor(platform::UIColor::black());
    controller->playerConfig = std::move(playerConfig);
    controller->viewModel = std::move(viewModel);
    return controller;
}

void KCSDKPlayerViewController::setOwnsItself(bool owns) {
    auto self = std::static_pointer_cast<KCSDKPlayerViewController>(shared_from_this());
    itself_ = owns ? std::move(self) : nullptr;
}

platform::UIInterfaceOrientationMask KCSDKPlayerViewController::supportedInterfaceOrientations()
    const {
    return KCSDK::shared().enablefullscreenVideo ? platform::UIInterfaceOrientationMaskLandscape
                                                 : platform::UIInterfaceOrientationMaskPortrait;
}

bool KCSDKPlayerViewController::shouldAutorotate() const { return true; }

void KCSDKPlayerViewController::viewDidLoad() {
    UIViewController::viewDidLoad();
    if (KCSDK::shared().enablefullscreenVideo) {
        platform::UIDevice::current().setValue(platform::UIDevice::orientationLandscapeRight,
                                               "orientation");
    }
}

void KCSDKPlayerViewController::viewWillLayoutSubviews() {
    UIViewController::viewWillLayoutSubviews();
}

}  // namespace korvel
