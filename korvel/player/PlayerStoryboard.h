#pragma once

#include <korvel/platform/Device.h>
#include <korvel/platform/uikit/UIViewController.h>

#include <memory>
#include <string_view>

namespace korvel {

/// A new controller of the player's storyboard; null if the device has no SDK bundle or the
/// storyboard no such scene. Main queue.
std::shared_ptr<platform::UIViewController> playerScene(const platform::Device& device,
                                                        std::string_view identifier);

}  // namespace korvel
