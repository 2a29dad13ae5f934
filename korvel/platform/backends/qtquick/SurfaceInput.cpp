#include <korvel/platform/backends/qtquick/ControlKeys.h>
#include <korvel/platform/backends/qtquick/Surface.h>
#include <korvel/platform/uikit/UISlider.h>
#include <korvel/platform/uikit/UITapGestureRecognizer.h>

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
        case Qt::Key_Escape:
        case Qt::Key_Back:
            return leave();
        case Qt::Key_Space:
        case Qt::Key_MediaTogglePlayPause:
            return inFront(top, [](UIView& view) { return view.accessibilityPerformMagicTap(); });
        case Qt::Key_Return:
        case Qt::Key_Enter:
        case Qt::Key_Select:
            if (!stops().empty() || !showControls()) tapPicture();
            return true;
        case Qt::Key_Left:
        case Qt::Key_Right:
            return (hasActiveFocus() &&
                    inFront(top, [&](UIView& view) { return moveSlider(view, key, now()); })) ||
                   moveFocusTowards(key);
        case Qt::Key_Up:
        case Qt::Key_Down:
            return moveFocusTowards(key);
        default:
            return false;
    }
}

/// What lies behind never hears of it.
bool Surface::leave() {
    if (covers() && onLeave && onLeave()) return true;
    if (!shown_ || shown_->subviews().empty()) return true;
    return inFront(shown_->subviews().back(),
                   [](UIView& view) { return view.accessibilityPerformEscape(); }) ||
           covers();
}

/// A tap that hits no control; in the middle, where there is nobody whose tap it could be.
void Surface::tapPicture() {
    const auto kept = shown_;
    if (covers()) ring_.reset();  // where only the picture is left, it goes without saying
    const auto recognize = [](UIView& view) {
        // NOLINTNEXTLINE(performance-unnecessary-copy-initialization): who hears may take some away
        const auto recognizers = view.gestureRecognizers();
        for (const auto& recognizer : recognizers) recognizer->recognize();
        return !recognizers.empty();
    };
    if (inFront(kept->subviews().back(), recognize)) return;
    const auto middle = kept->bounds().center();
    if (!takes({middle.x, middle.y})) return;
    kept->touchBegan(middle, now());
    kept->touchEnded(middle, now());
}

}  // namespace korvel::platform::qtquick
