#include <korvel/platform/uikit/UIControl.h>

#include <algorithm>
#include <utility>

namespace korvel::platform {

UIControl::UIControl(const CGRect& frame) : UIView(frame) {}
UIControl::~UIControl() = default;

void UIControl::addTarget(std::weak_ptr<void> target, Action action, UIControlEvents events) {
    if (action) targets_.push_back({std::move(target), std::move(action), events});
}

void UIControl::removeTarget(const std::shared_ptr<void>& target) {
    std::erase_if(targets_,
                  [&](const Target& candidate) { return candidate.object.lock() == target; });
}

void UIControl::sendActions(UIControlEvents events) {
    const auto kept = shared_from_this();
    const auto targets = targets_;  // an action may change them
    for (const auto& target : targets) {
        if (!intersect(target.events, events)) continue;
        if (const auto object = target.object.lock()) target.action();
    }
}

void UIControl::setEnabled(bool enabled) {
    if (assign(enabled_, enabled, UIViewChange::interaction)) changed(UIViewChange::content);
}

void UIControl::setHighlighted(bool highlighted) {
    if (highlighted_ == highlighted) return;
    highlighted_ = highlighted;
    if (looksHighlighted()) changed(UIViewChange::content);
}

UIControlState UIControl::state() const {
    if (!enabled_) return UIControlState::disabled;
    return highlighted_ ? UIControlState::highlighted : UIControlState::normal;
}

CGRect UIControl::touchBounds() const {
    const auto [width, height] = bounds().size;
    return bounds().insetBy(std::min(0.0, (width - leastTouchSize) / 2),
                            std::min(0.0, (height - leastTouchSize) / 2));
}

bool UIControl::keepsTouch(CGPoint point) const {
    constexpr double stray = 24;
    return bounds().insetBy(-stray, -stray).contains(point);
}

void UIControl::touchesBegan(const UITouch& touch) {
    if (!enabled_) return;
    const auto kept = shared_from_this();
    tracking_ = true;
    setHighlighted(true);
    sendActions(UIControlEvents::touchDown);
    if (tracking_) beginTracking(convertFromWindow(touch.locationInWindow));
}

void UIControl::touchesMoved(const UITouch& touch) {
    if (!tracking_) return;
    const auto point = convertFromWindow(touch.locationInWindow);
    setHighlighted(keepsTouch(point));
    continueTracking(point);
}

void UIControl::touchesEnded(const UITouch& touch) {
    if (!tracking_) return;
    const auto kept = shared_from_this();
    tracking_ = false;
    setHighlighted(false);
    endTracking();
    const bool inside = keepsTouch(convertFromWindow(touch.locationInWindow));
    sendActions(inside ? UIControlEvents::touchUpInside : UIControlEvents::touchUpOutside);
}

void UIControl::touchesCancelled(const UITouch&) {
    if (!tracking_) return;
    tracking_ = false;
    setHighlighted(false);
    sendActions(UIControlEvents::touchCancel);
}

}  // namespace korvel::platform
