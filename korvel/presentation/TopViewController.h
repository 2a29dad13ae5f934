#pragma once

#include <korvel/platform/uikit/UIViewController.h>

#include <memory>

namespace korvel {

/// The controller over which something new is presented: down through a navigation controller's
/// visible and a tab bar's selected controller, up through what is presented. Null for null, and
/// for a navigation controller that shows none. Main queue.
std::shared_ptr<platform::UIViewController> topViewController(
    std::shared_ptr<platform::UIViewController> controller);

/// That of the application's key window; null if there is no window or nothing in it.
std::shared_ptr<platform::UIViewController> topViewControllerOfKeyWindow();

}  // namespace korvel
