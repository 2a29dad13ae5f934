#include <korvel/platform/uikit/UIApplication.h>
#include <korvel/platform/uikit/UINavigationController.h>
#include <korvel/platform/uikit/UITabBarController.h>
#include <korvel/platform/uikit/UIWindow.h>
#include <korvel/presentation/TopViewController.h>

#include <utility>

namespace korvel {

using platform::UIViewController;

std::shared_ptr<UIViewController> topViewController(std::shared_ptr<UIViewController> controller) {
    while (controller) {
        const auto* tabs = dynamic_cast<platform::UITabBarController*>(controller.get());
        std::shared_ptr<UIViewController> next;
        if (auto* stack = dynamic_cast<platform::UINavigationController*>(controller.get())) {
            next = stack->visibleViewController();
            if (!next) return nullptr;
        } else if (tabs && tabs->selectedViewController()) {
            next = tabs->selectedViewController();
        } else {
            next = controller->presentedViewController();
            if (!next) return controller;
        }
        controller = std::move(next);
    }
    return nullptr;
}

std::shared_ptr<UIViewController> topViewControllerOfKeyWindow() {
    const auto window = platform::UIApplication::shared().keyWindow();
    return window ? topViewController(window->rootViewController()) : nullptr;
}

}  // namespace korvel
