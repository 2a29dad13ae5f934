#include <korvel/platform/backends/qtquick/ControlKeys.h>
#include <korvel/platform/backends/qtquick/Surface.h>
#include <korvel/platform/backends/qtquick/ViewAccessible.h>
#include <korvel/platform/uikit/UILabel.h>
#include <korvel/platform/uikit/UISlider.h>
#include <korvel/platform/uikit/UITapGestureRecognizer.h>

#include <QtQuick/QQuickWindow>

#include <algorithm>

namespace korvel::platform::qtquick {

namespace {

bool isTappable(const UIView& view) {
    const auto& recognizers = view.gestureRecognizers();
    return !view.accessibilityLabel().empty() &&
           std::any_of(recognizers.begin(), recognizers.end(),
                       [](const auto& one) { return one->isEnabled(); });
}

void collectBelow(const QQuickItem& item, QList<QQuickItem*>& found) {
    auto children = item.childItems();
    std::stable_sort(children.begin(), children.end(),
                     [](const auto* one, const auto* other) { return one->z() < other->z(); });
    for (auto* child : children) {
        if (QAccessible::queryAccessibleInterface(child)) {
            found << child;
        } else {
            collectBelow(*child, found);
        }
    }
}

}  // namespace

QAccessible::Role ViewAccessible::roleOf(const UIView& view) {
    switch (view.accessibilityRole()) {
        case UIAccessibilityRole::button:
            return QAccessible::Button;
        case UIAccessibilityRole::slider:
            return QAccessible::Slider;
        case UIAccessibilityRole::staticText:
            return QAccessible::StaticText;
        case UIAccessibilityRole::progress:
            return QAccessible::ProgressBar;
        case UIAccessibilityRole::none:
            break;
    }
    return isTappable(view) ? QAccessible::Button : QAccessible::NoRole;
}

QString ViewAccessible::nameOf(const UIView& view) {
    const auto* label = dynamic_cast<const UILabel*>(&view);
    return QString::fromStdString(
        label && view.accessibilityLabel().empty() ? label->text() : view.accessibilityLabel());
}

QString ViewAccessible::valueTextOf(const UIView& view) {
    return QString::fromStdString(view.accessibilityValue());
}

QList<QQuickItem*> ViewAccessible::below(const QQuickItem& item) {
    QList<QQuickItem*> found;
    collectBelow(item, found);
    return found;
}

ViewItem& ViewAccessible::item() const { return *static_cast<ViewItem*>(object()); }

std::shared_ptr<UISlider> ViewAccessible::slider() const {
    return std::dynamic_pointer_cast<UISlider>(item().view());
}

/// The picture's keys go to its surface. Null for what takes none.
QQuickItem* ViewAccessible::focusHolder() const {
    if (item().takesFocus()) return &item();
    const auto view = item().view();
    return view && isTappable(*view) ? &item().surface() : nullptr;
}

// MARK: where it is

QWindow* ViewAccessible::window() const { return item().window(); }

QRect ViewAccessible::rect() const {
    const auto scene = item().mapRectToScene(item().boundingRect()).toAlignedRect();
    const auto* const within = item().window();
    return within ? scene.translated(within->mapToGlobal(QPoint())) : scene;
}

QAccessibleInterface* ViewAccessible::parent() const {
    for (auto* above = item().parentItem(); above; above = above->parentItem()) {
        if (auto* found = QAccessible::queryAccessibleInterface(above)) return found;
    }
    return QAccessible::queryAccessibleInterface(item().window());
}

QAccessibleInterface* ViewAccessible::child(int index) const {
    return QAccessible::queryAccessibleInterface(below(item()).value(index));
}

int ViewAccessible::childCount() const { return static_cast<int>(below(item()).size()); }

int ViewAccessible::indexOfChild(const QAccessibleInterface* child) const {
    return child ? static_cast<int>(below(item()).indexOf(child->object())) : -1;
}

// MARK: what it is

QString ViewAccessible::text(QAccessible::Text kind) const {
    const auto view = item().view();
    if (!view) return {};
    if (kind == QAccessible::Name) return nameOf(*view);
    // Bridges that have no words for a value, such as AT-SPI's, take the description instead.
    const bool value = kind == QAccessible::Value || kind == QAccessible::Description;
    return value ? valueTextOf(*view) : QString();
}

QAccessible::Role ViewAccessible::role() const {
    const auto view = item().view();
    return view ? roleOf(*view) : QAccessible::NoRole;
}

QAccessible::State ViewAccessible::state() const {
    QAccessible::State state;
    const auto view = item().view();
    const auto* const control = dynamic_cast<const UIControl*>(view.get());
    state.invisible = !view || !item().isVisible() || item().isFrozen();
    state.disabled = control && !control->isEnabled();
    const auto* const holder = focusHolder();
    state.focusable = holder != nullptr;
    state.focused = holder && holder->hasActiveFocus();
    state.pressed = control && control->isTracking() && role() == QAccessible::Button;
    const auto* const within = item().window();
    const QRectF all(QPointF(), within ? QSizeF(within->size()) : QSizeF());
    state.offscreen = !all.intersects(item().mapRectToScene(item().boundingRect()));
    return state;
}

void* ViewAccessible::interface_cast(QAccessible::InterfaceType type) {
    const auto is = role();
    if (type == QAccessible::ActionInterface && is != QAccessible::StaticText &&
        is != QAccessible::ProgressBar) {
        return static_cast<QAccessibleActionInterface*>(this);
    }
    if (type == QAccessible::ValueInterface && is == QAccessible::Slider) {
        return static_cast<QAccessibleValueInterface*>(this);
    }
    return nullptr;
}

// MARK: what can be done with it

QStringList ViewAccessible::actionNames() const {
    QStringList names = role() == QAccessible::Slider
                            ? QStringList{increaseAction(), decreaseAction()}
                            : QStringList{pressAction()};
    if (focusHolder()) names << setFocusAction();
    return names;
}

void ViewAccessible::doAction(const QString& action) {
    const auto view = item().view();
    if (!view) return;
    if (action == setFocusAction()) {
        if (auto* const holder = focusHolder()) holder->forceActiveFocus(Qt::OtherFocusReason);
    } else if (action == increaseAction()) {
        move(1);
    } else if (action == decreaseAction()) {
        move(-1);
    } else if (action == pressAction() && !slider()) {
        if (auto* control = dynamic_cast<UIControl*>(view.get())) {
            return activate(*control, item().surface().now());
        }
        const auto recognizers = view->gestureRecognizers();
        for (const auto& recognizer : recognizers) recognizer->recognize();
    }
}

QVariant ViewAccessible::currentValue() const {
    const auto moved = slider();
    return moved ? QVariant(static_cast<double>(moved->value())) : QVariant();
}

void ViewAccessible::setCurrentValue(const QVariant& value) {
    const auto moved = slider();
    if (!moved) return;
    moveTo(*moved, value.toDouble());
    item().tellMoved();
}

void ViewAccessible::move(double steps) {
    setCurrentValue(currentValue().toDouble() + steps * minimumStepSize().toDouble());
}

QVariant ViewAccessible::maximumValue() const {
    const auto moved = slider();
    return moved ? QVariant(static_cast<double>(moved->maximumValue())) : QVariant();
}

QVariant ViewAccessible::minimumValue() const {
    const auto moved = slider();
    return moved ? QVariant(static_cast<double>(moved->minimumValue())) : QVariant();
}

QVariant ViewAccessible::minimumStepSize() const {
    return (maximumValue().toDouble() - minimumValue().toDouble()) / 100;
}

}  // namespace korvel::platform::qtquick
