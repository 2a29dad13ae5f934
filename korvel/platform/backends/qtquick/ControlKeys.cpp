#include <korvel/platform/backends/qtquick/ControlKeys.h>
#include <korvel/platform/uikit/UISlider.h>

#include <QtCore/Qt>

namespace korvel::platform::qtquick {

namespace {

UITouch middle(const UIControl& control, Clock::Instant time) {
    return {control.convertToWindow(control.bounds().center()), time};
}

bool pressesButtons(int key) {
    return key == Qt::Key_Space || key == Qt::Key_Return || key == Qt::Key_Enter ||
           key == Qt::Key_Select;
}

bool moveByKey(UISlider& slider, int key) {
    constexpr double page = 10;
    switch (key) {
        case Qt::Key_Right:
            moveBy(slider, 1);
            return true;
        case Qt::Key_Left:
            moveBy(slider, -1);
            return true;
        case Qt::Key_PageUp:
            moveBy(slider, page);
            return true;
        case Qt::Key_PageDown:
            moveBy(slider, -page);
            return true;
        case Qt::Key_Home:
            moveTo(slider, slider.minimumValue());
            return true;
        case Qt::Key_End:
            moveTo(slider, slider.maximumValue());
            return true;
        default:
            return false;
    }
}

}  // namespace

bool pressKey(UIControl& control, int key, bool repeated, Clock::Instant time) {
    if (!control.isEnabled()) return false;
    if (auto* slider = dynamic_cast<UISlider*>(&control)) return moveByKey(*slider, key);
    if (!pressesButtons(key)) return false;
    if (!repeated && !control.isTracking()) control.touchesBegan(middle(control, time));
    return true;
}

bool releaseKey(UIControl& control, int key, Clock::Instant time) {
    if (dynamic_cast<UISlider*>(&control) || !pressesButtons(key)) return false;
    control.touchesEnded(middle(control, time));
    return true;
}

void activate(UIControl& control, Clock::Instant time) {
    if (control.isTracking()) return;
    const auto kept = control.shared_from_this();
    control.touchesBegan(middle(control, time));
    control.touchesEnded(middle(control, time));
}

void moveTo(UISlider& slider, double value) {
    if (!slider.isEnabled() || slider.isTracking()) return;
    const auto kept = slider.shared_from_this();
    const float before = slider.value();
    slider.sendActions(UIControlEvents::touchDown);
    slider.setValue(static_cast<float>(value));
    if (slider.value() != before) slider.sendActions(UIControlEvents::valueChanged);
    slider.sendActions(UIControlEvents::touchUpInside);
}

void moveBy(UISlider& slider, double hundredths) {
    const double range = static_cast<double>(slider.maximumValue()) - slider.minimumValue();
    moveTo(slider, slider.value() + range * hundredths / 100);
}

}  // namespace korvel::platform::qtquick
