#include <korvel/platform/foundation/FatalError.h>
#include <korvel/platform/uikit/Screen.h>

#include <algorithm>
#include <utility>

namespace korvel::platform {

namespace {

void afterTransition(Screen& screen, bool animated, std::function<void()> completion) {
    if (!completion) return;
    if (animated) {
        screen.mainQueue().asyncAfter(UIViewController::transitionDuration, std::move(completion));
    } else {
        screen.mainQueue().async(std::move(completion));
    }
}

}  // namespace

UIViewController::UIViewController() = default;

UIViewController::~UIViewController() {
    if (presented_) dismissPresented(false, {});  // or its view would stay for ever
}

const std::shared_ptr<UIView>& UIViewController::view() {
    if (!view_) {
        loadView();
        if (!view_) fatalError("A view controller's loadView() left it without a view.");
        viewDidLoad();
    }
    return view_;
}

void UIViewController::setView(std::shared_ptr<UIView> view) {
    if (view_ == view) return;
    if (view_ && view_->controller_.lock().get() == this) view_->controller_.reset();
    view_ = std::move(view);
    if (view_ && view_->controller_.expired()) view_->controller_ = weak_from_this();
}

void UIViewController::loadView() {
    if (nib_) {
        nib_(*this);
    } else {
        setView(make<UIView>());
    }
}

void UIViewController::addChild(std::shared_ptr<UIViewController> child) {
    if (!child) return;
    for (auto ancestor = shared_from_this(); ancestor; ancestor = ancestor->parent()) {
        if (ancestor == child) return;
    }
    child->removeFromParent();
    child->parent_ = weak_from_this();
    children_.push_back(std::move(child));
}

void UIViewController::removeFromParent() {
    const auto kept = shared_from_this();
    if (const auto parent = std::exchange(parent_, {}).lock()) std::erase(parent->children_, kept);
}

std::shared_ptr<UIWindow> UIViewController::presentationWindow() const {
    auto controller = shared_from_this();
    while (controller) {
        if (auto window = controller->window_.lock()) return window;
        if (auto window = controller->view_ ? controller->view_->window() : nullptr) return window;
        const auto presenting = controller->presenting_.lock();
        controller = presenting ? presenting : controller->parent_.lock();
    }
    return nullptr;
}

bool UIViewController::mayPresent(const std::shared_ptr<UIViewController>& controller) const {
    if (presented_ || !controller->presenting_.expired() || !controller->parent_.expired() ||
        !controller->window_.expired()) {
        return false;
    }
    auto below = shared_from_this();
    while (below && below != controller) {
        const auto presenting = below->presenting_.lock();
        below = presenting ? presenting : below->parent_.lock();
    }
    return !below;
}

void UIViewController::present(std::shared_ptr<UIViewController> controller, bool animated,
                               std::function<void()> completion) {
    const auto window = presentationWindow();
    if (!window || !controller) return;
    if (controller.get() == this && !presenting_.expired() && !view()->window()) {
        return window->cover(view());  // somebody took the view away meanwhile
    }
    if (!mayPresent(controller)) return;
    presented_ = controller;
    controller->presenting_ = weak_from_this();
    window->cover(controller->view());
    auto& screen = *window->screen();
    screen.tell(&UIViewTreeObserver::presentationChanged, *controller, true, animated);
    if (animated) {
        auto& view = *controller->view_;
        view.animation_ = {0, view.alpha_, screen.clock().now(), transitionDuration};
        screen.tell(&UIViewTreeObserver::animationBegan, view, *view.animation_);
    }
    afterTransition(screen, animated, std::move(completion));
}

void UIViewController::dismiss(bool animated, std::function<void()> completion) {
    if (presented_) return dismissPresented(animated, std::move(completion));
    if (const auto presenting = presenting_.lock()) {
        return presenting->dismissPresented(animated, std::move(completion));
    }
    if (const auto parent = parent_.lock()) return parent->dismiss(animated, std::move(completion));
    if (completion) completion();
}

void UIViewController::dismissPresented(bool animated, std::function<void()> completion) {
    const auto controller = presented_;
    if (controller->presented_) controller->dismissPresented(animated, {});
    const auto window = controller->presentationWindow();
    presented_.reset();
    controller->presenting_.reset();
    if (!window) {
        if (completion) completion();
        return;
    }
    auto& screen = *window->screen();
    screen.tell(&UIViewTreeObserver::presentationChanged, *controller, false, animated);
    if (controller->view_) window->uncover(controller->view_);
    afterTransition(screen, animated, std::move(completion));
}

}  // namespace korvel::platform
