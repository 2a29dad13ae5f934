#pragma once

#include <korvel/platform/foundation/Bundle.h>

namespace korvel::platform {

inline constexpr std::string_view sdkBundleIdentifier = "com.korvel.KorvelContentSDK";

/// The SDK's own bundle: in "share/korvel" of the nearest folder above the SDK's library, else
/// above the program, wherever they were moved together. Nothing if it is not there.
std::optional<Bundle> findSDKBundle();

}  // namespace korvel::platform
