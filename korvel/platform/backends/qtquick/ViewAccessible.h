#pragma once

#include <korvel/platform/backends/qtquick/ViewItem.h>
#include <korvel/platform/uikit/UIAccessibilityRole.h>

#include <QtGui/qaccessible.h>
#include <QtGui/qaccessibleobject.h>

namespace korvel::platform {

class UISlider;

namespace qtquick {

/// What screen readers are told of a view, and what they can do with it. GUI thread.
class ViewAccessible final : public QAccessibleObject,
                             public QAccessibleActionInterface,
                             public QAccessibleValueInterface {
public:
    /// `NoRole`: of no interest to them. A view to tap that has a label is a button.
    static QAccessible::Role roleOf(const UIView& view);
    static QString nameOf(const UIView& view);
    static QString valueTextOf(const UIView& view);
    /// Those below `item` that screen readers find, whoever made them, as they lie; without `item`.
    static QList<QQuickItem*> below(const QQuickItem& item);

    explicit ViewAccessible(ViewItem& item) : QAccessibleObject(&item) {}

    QWindow* window() const override;
    QRect rect() const override;
    QAccessibleInterface* parent() const override;
    QAccessibleInterface* child(int index) const override;
    int childCount() const override;
    int indexOfChild(const QAccessibleInterface* child) const override;
    QString text(QAccessible::Text kind) const override;
    QAccessible::Role role() const override;
    QAccessible::State state() const override;
    void* interface_cast(QAccessible::InterfaceType type) override;

    QStringList actionNames() const override;
    void doAction(const QString& action) override;
    QStringList keyBindingsForAction(const QString&) const override { return {}; }

    QVariant currentValue() const override;
    void setCurrentValue(const QVariant& value) override;
    QVariant maximumValue() const override;
    QVariant minimumValue() const override;
    QVariant minimumStepSize() const override;

private:
    ViewItem& item() const;
    std::shared_ptr<UISlider> slider() const;
    QQuickItem* focusHolder() const;
    void move(double steps);
};

}  // namespace qtquick
}  // namespace korvel::platform
