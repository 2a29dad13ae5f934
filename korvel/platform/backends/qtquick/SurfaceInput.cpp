#include <korvel/platform/backends/qtquick/ControlKeys.h>
#include <korvel/platform/backends/qtquick/Surface.h>
#include <korvel/platform/uikit/UISlider.h>

#include <QtGui/QEventPoint>
#include <QtQuick/QQuickWindow>

#include <algorithm>

namespace korvel::platform::qtquick {

namespace {

CGPoint pointOf(QPointF point) { return {point.x(), point.y()}; }

/// The frontmost visible view that `wanted` says yes to, subviews before what they lie on.
template <class Wanted> bool inFront(const std::shared_ptr<UIView>& view, const Wanted& wanted) {
    if (view->isHidden()) return false;
    const auto subviews = view->subviews();
    return std::any_of(subviews.rbegin(), subviews.rend(),
                       [&](const auto& subview) { return inFront(subview, wanted); }) ||
           wanted(*view);
}

bool moveSlider(UIView& view, int key, Clock::Instant time) {
    auto* slider = dynamic_cast<UISlider*>(&view);
    return slider && slider->isUserInteractionEnabled() && pressKey(*slider, key, false, time);
}

}  // namespace

bool Surface::takes(QPointF point) const {
    if (!shown_) return false;
    const auto kept = shown_;
    kept->layoutIfNeeded();
    const auto hit = kept->hitTest(pointOf(point));
    return hit && !isPlaceholder(*hit);
}

bool Surface::press(QPointF point) {
    if (!takes(point)) return false;
    const auto kept = shown_;
    forceActiveFocus(Qt::MouseFocusReason);
    return kept->touchBegan(pointOf(point), now());
}

// MARK: mouse

void Surface::mousePressEvent(QMouseEvent* event) {
    const bool taken = press(event->position());
    if (taken) setKeepMouseGrab(true);  // a list around it must not steal a drag
    event->setAccepted(taken);
}

void Surface::mouseMoveEvent(QMouseEvent* event) {
    if (const auto kept = shown_) kept->touchMoved(pointOf(event->position()), now());
}

void Surface::mouseReleaseEvent(QMouseEvent* event) {
    setKeepMouseGrab(false);
    if (const auto kept = shown_) kept->touchEnded(pointOf(event->position()), now());
}

void Surface::mouseUngrabEvent() {
    setKeepMouseGrab(false);
    if (const auto kept = shown_) kept->touchCancelled();
}

void Surface::wheelEvent(QWheelEvent* event) { event->setAccepted(takes(event->position())); }

void Surface::hoverEnterEvent(QHoverEvent* event) { event->setAccepted(takes(event->position())); }

void Surface::hoverMoveEvent(QHoverEvent* event) { event->setAccepted(takes(event->position())); }

// MARK: touch; the first finger counts until it is lifted

void Surface::touchEvent(QTouchEvent* event) {
    if (event->type() == QEvent::TouchCancel) return touchUngrabEvent();
    bool taken = finger_.has_value();
    for (const auto& point : event->points()) {
        if (!finger_ && point.state() == QEventPoint::Pressed && press(point.position())) {
            finger_ = point.id();
            setKeepTouchGrab(true);
            taken = true;
        }
        const auto kept = shown_;
        if (!kept || finger_ != point.id()) continue;
        if (point.state() == QEventPoint::Updated) {
            kept->touchMoved(pointOf(point.position()), now());
        } else if (point.state() == QEventPoint::Released) {
            finger_.reset();
            setKeepTouchGrab(false);
            kept->touchEnded(pointOf(point.position()), now());
        }
    }
    event->setAccepted(taken);
}

void Surface::touchUngrabEvent() {
    if (!finger_) return;
    finger_.reset();
    setKeepTouchGrab(false);
    if (const auto kept = shown_) kept->touchCancelled();
}

// MARK: keys that no control took

void Surface::keyPressEvent(QKeyEvent* event) { event->setAccepted(performKey(event->key())); }

bool Surface::performKey(int key) {
    const auto kept = shown_;
    if (!kept || !showsAnything_) return false;
    const auto top = kept->subviews().back();
    switch (key) {
        case Qt::Key_Tab:
        case Qt::Key_Backtab:
            return keepsFocus() && moveFocus(window()->activeFocusItem(), key == Qt::Key_Tab);
        case Qt::Key_Escape:
        case Qt::Key_Back:
            return inFront(top, [](UIView& view) { return view.accessibilityPerformEscape(); });
        case Qt::Key_Space:
        case Qt::Key_MediaTogglePlayPause:
            return inFront(top, [](UIView& view) { return view.accessibilityPerformMagicTap(); });
        case Qt::Key_Return:
        case Qt::Key_Enter:
        case Qt::Key_Select:
            tapMiddle();
            return true;
        case Qt::Key_Left:
        case Qt::Key_Right:
            return inFront(top, [&](UIView& view) { return moveSlider(view, key, now()); });
        default:
            return false;
    }
}

void Surface::tapMiddle() {
    const auto kept = shown_;
    const auto middle = kept->bounds().center();
    if (!takes({middle.x, middle.y})) return;
    kept->touchBegan(middle, now());
    kept->touchEnded(middle, now());
}

void Surface::collectFocusable(const UIView& view, std::vector<ViewItem*>& found) const {
    auto* item = itemOf(view);
    if (!item || view.isHidden()) return;
    if (item->takesFocus()) found.push_back(item);
    for (const auto& subview : view.subviews()) collectFocusable(*subview, found);
}

bool Surface::moveFocus(const QQuickItem* from, bool forward) {
    if (!shown_ || shown_->subviews().empty()) return false;
    std::vector<ViewItem*> items;
    collectFocusable(*shown_->subviews().back(), items);
    if (items.empty()) return false;
    if (!forward) std::reverse(items.begin(), items.end());
    const auto current = std::find(items.begin(), items.end(), from);
    auto* const next =
        current == items.end() || current + 1 == items.end() ? items.front() : current[1];
    next->forceActiveFocus(forward ? Qt::TabFocusReason : Qt::BacktabFocusReason);
    return true;
}

void Surface::focusInEvent(QFocusEvent* event) {
    QQuickItem::focusInEvent(event);
    const auto reason = event->reason();
    if (reason == Qt::TabFocusReason || reason == Qt::BacktabFocusReason) {
        ring_ = std::make_unique<FocusRing>(*this);
    }
}

void Surface::focusOutEvent(QFocusEvent* event) {
    QQuickItem::focusOutEvent(event);
    ring_.reset();
}

}  // namespace korvel::platform::qtquick
