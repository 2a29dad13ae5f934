#pragma once

#include <korvel/platform/Device.h>
#include <korvel/platform/foundation/SDKBundle.h>
#include <korvel/platform/uikit/UIImage.h>

#include <string_view>

namespace korvel {

using platform::sdkBundleIdentifier;

/// Scenes "KCSDKPlayerOverlay" and "KCSDKPlayerViewController".
inline constexpr std::string_view sdkStoryboardName = "KCSDKOndemandClass";
/// Of the errors that the SDK makes itself.
inline constexpr const char* sdkErrorDomain = "com.korvel.KorvelContentSDK";

/// The bundle's image; an empty one if the device has no such bundle or the bundle no such image.
platform::UIImage sdkImage(const platform::Device& device, std::string_view name);

}  // namespace korvel
