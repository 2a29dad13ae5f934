#include <korvel/platform/uikit/UINavigationController.h>
#include <korvel/platform/uikit/UITabBarController.h>

#include <algorithm>
#include <utility>

namespace korvel::platform {

namespace {

/// Leaves the view of `shown`, which may be null, as the only one in the container's.
void showOnly(UIViewController& container, const std::shared_ptr<UIViewController>& shown) {
    const auto& view = container.viewIfLoaded();
    if (!view) return;
    for (const auto& child : container.children()) {
        const auto other = child->viewIfLoaded();
        if (child != shown && other && other->superview() == view) other->removeFromSuperview();
    }
    if (!shown) return;
    if (shown->view()->superview() != view) view->addSubview(shown->view());
    shown->view()->setFrame(view->bounds());
}

}  // namespace

UINavigationController::UINavigationController() = default;
UINavigationController::~UINavigationController() = default;

void UINavigationController::pushViewController(
    const std::shared_ptr<UIViewController>& controller) {
    addChild(controller);
    showOnly(*this, topViewController());
}

std::shared_ptr<UIViewController> UINavigationController::popViewController() {
    if (viewControllers().size() < 2) return nullptr;
    auto popped = topViewController();
    showOnly(*this, *(viewControllers().end() - 2));
    popped->removeFromParent();
    return popped;
}

std::shared_ptr<UIViewController> UINavigationController::topViewController() const {
    return viewControllers().empty() ? nullptr : viewControllers().back();
}

std::shared_ptr<UIViewController> UINavigationController::visibleViewController() const {
    return presentedViewController() ? presentedViewController() : topViewController();
}

void UINavigationController::viewDidLoad() { showOnly(*this, topViewController()); }
void UINavigationController::viewWillLayoutSubviews() { showOnly(*this, topViewController()); }

UITabBarController::UITabBarController() = default;
UITabBarController::~UITabBarController() = default;

void UITabBarController::setViewControllers(
    const std::vector<std::shared_ptr<UIViewController>>& controllers) {
    const auto selected = selectedViewController();
    setSelectedViewController(nullptr);
    for (const auto& old : std::vector(viewControllers())) old->removeFromParent();
    for (const auto& controller : controllers) addChild(controller);
    const auto& now = viewControllers();
    const bool stays = selected && std::find(now.begin(), now.end(), selected) != now.end();
    setSelectedViewController(stays || now.empty() ? selected : now.front());
}

void UITabBarController::setSelectedViewController(
    const std::shared_ptr<UIViewController>& controller) {
    const auto& known = viewControllers();
    if (controller && std::find(known.begin(), known.end(), controller) == known.end()) return;
    selected_ = controller;
    showOnly(*this, controller);
}

void UITabBarController::viewDidLoad() { showOnly(*this, selectedViewController()); }
void UITabBarController::viewWillLayoutSubviews() { showOnly(*this, selectedViewController()); }

}  // namespace korvel::platform
