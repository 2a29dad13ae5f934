#pragma once

namespace korvel::platform {

/// A set of orientations that a controller allows.
using UIInterfaceOrientationMask = unsigned;

inline constexpr UIInterfaceOrientationMask UIInterfaceOrientationMaskPortrait = 2;
inline constexpr UIInterfaceOrientationMask UIInterfaceOrientationMaskPortraitUpsideDown = 4;
inline constexpr UIInterfaceOrientationMask UIInterfaceOrientationMaskLandscapeRight = 8;
inline constexpr UIInterfaceOrientationMask UIInterfaceOrientationMaskLandscapeLeft = 16;
inline constexpr UIInterfaceOrientationMask UIInterfaceOrientationMaskLandscape = 24;
inline constexpr UIInterfaceOrientationMask UIInterfaceOrientationMaskAll = 30;

}  // namespace korvel::platform
