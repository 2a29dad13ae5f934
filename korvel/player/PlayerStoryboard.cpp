#include <korvel/platform/uikit/UIStoryboard.h>
#include <korvel/player/KCSDKPlayerOverlay.h>
#include <korvel/player/KCSDKPlayerViewController.h>
#include <korvel/player/PlayerStoryboard.h>
#include <korvel/sdk/SDKResources.h>

#include <utility>

namespace korvel {

std::shared_ptr<platform::UIViewController> playerScene(const platform::Device& device,
                                                        std::string_view identifier) {
    const auto* bundle = device.bundle(sdkBundleIdentifier);
    if (!bundle) return nullptr;
    platform::UIClassRegistry classes;
    classes.add<KCSDKPlayerOverlay>("KCSDKPlayerOverlay");
    classes.add<KCSDKPlayerViewController>("KCSDKPlayerViewController");
    return platform::UIStoryboard(sdkStoryboardName, *bundle, std::move(classes))
        .instantiateViewController(identifier);
}

}  // namespace korvel
