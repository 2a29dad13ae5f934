#include <korvel/platform/uikit/Screen.h>
#include <korvel/platform/uikit/UIControl.h>
#include <korvel/platform/uikit/UITapGestureRecognizer.h>

#include <algorithm>
#include <cmath>
#include <utility>

namespace korvel::platform {

UIWindow::UIWindow(std::shared_ptr<Screen> screen, const CGRect& frame)
    : UIView(frame), screen_(std::move(screen)) {
    window_ = this;
    needsLayout_ = false;  // nothing to lay out, and the first change is to schedule it
}

UIWindow::~UIWindow() {
    touchCancelled();
    enter(nullptr);  // before the members go that the views would ask for
}

void UIWindow::setRootViewController(std::shared_ptr<UIViewController> controller) {
    if (root_ == controller) return;
    const auto kept = shared_from_this();
    if (const auto old = std::exchange(root_, nullptr)) {
        if (old->presented_) old->dismissPresented(false, {});
        old->window_.reset();
        if (old->view_) uncover(old->view_);
    }
    root_ = std::move(controller);
    if (root_) {
        root_->window_ = std::static_pointer_cast<UIWindow>(kept);
        cover(root_->view());
    }
    screen_->tell(&UIViewTreeObserver::windowChanged, *this);
}

void UIWindow::makeKeyAndVisible() {
    const auto before = screen_->application().keyWindow();
    if (before.get() == this) return;
    screen_->application().keyWindow_ = std::static_pointer_cast<UIWindow>(shared_from_this());
    if (before) screen_->tell(&UIViewTreeObserver::windowChanged, *before);
    screen_->tell(&UIViewTreeObserver::windowChanged, *this);
}

bool UIWindow::isKeyWindow() const { return screen_->application().keyWindow().get() == this; }

void UIWindow::cover(const std::shared_ptr<UIView>& view) {
    covers_.push_back(view);
    addSubview(view);
    view->setFrame(bounds());
}

void UIWindow::uncover(const std::shared_ptr<UIView>& view) {
    std::erase_if(covers_, [&](const auto& one) { return one.lock() == view; });
    if (view->superview_ == this) view->removeFromSuperview();
}

void UIWindow::layoutSubviews() {
    std::erase_if(covers_, [&](const auto& one) {
        const auto view = one.lock();
        return !view || view->superview_ != this;
    });
    for (const auto& one : covers_) one.lock()->setFrame(bounds());
}

void UIWindow::willNeedLayout() {
    if (std::exchange(layoutScheduled_, true)) return;
    screen_->mainQueue().async([weak = weak_from_this()] {
        const auto window = std::static_pointer_cast<UIWindow>(weak.lock());
        if (!window) return;
        window->layoutScheduled_ = false;
        window->layoutIfNeeded();
    });
}

bool UIWindow::touchBegan(CGPoint point, Clock::Instant time) {
    const auto kept = shared_from_this();
    touchCancelled();
    layoutIfNeeded();
    const auto hit = hitTest(point);
    if (!hit || (hit.get() == this && gestureRecognizers().empty())) return false;
    touched_ = hit;
    touchBegin_ = touch_ = {point, time};
    mayBeTap_ = true;
    hit->touchesBegan(touch_);
    return true;
}

void UIWindow::touchMoved(CGPoint point, Clock::Instant time) {
    const auto view = touched_.lock();
    if (!view) return;
    touch_ = {point, time};
    const auto& begin = touchBegin_.locationInWindow;
    if (std::hypot(point.x - begin.x, point.y - begin.y) > tapDistance) mayBeTap_ = false;
    view->touchesMoved(touch_);
}

void UIWindow::touchEnded(CGPoint point, Clock::Instant time) {
    const auto kept = shared_from_this();
    if (point != touch_.locationInWindow) touchMoved(point, time);
    const auto view = std::exchange(touched_, {}).lock();
    if (!view) return;
    if (time - touchBegin_.timestamp > tapDuration) mayBeTap_ = false;
    if (!mayBeTap_ || !fireTap(*view)) view->touchesEnded({point, time});
}

void UIWindow::touchCancelled() {
    if (const auto view = std::exchange(touched_, {}).lock()) view->touchesCancelled(touch_);
}

void UIWindow::cancelTouchIn(const UIView& leaving) {
    const auto view = touched_.lock();
    if (view && view->isDescendantOf(leaving)) touchCancelled();
}

/// Up from the touched view: whoever comes first, a recogniser or a control, has the tap.
bool UIWindow::fireTap(UIView& touched) {
    for (auto* view = &touched; view; view = view->superview_) {
        if (std::any_of(view->recognizers_.begin(), view->recognizers_.end(),
                        [](const auto& one) { return one->isEnabled(); })) {
            const auto recognizers = view->recognizers_;
            touched.touchesCancelled(touch_);
            for (const auto& recognizer : recognizers) recognizer->recognize();
            return true;
        }
        if (dynamic_cast<UIControl*>(view)) return false;
    }
    return false;
}

}  // namespace korvel::platform
