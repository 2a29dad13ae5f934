#pragma once

#include <QtGui/qaccessibleobject.h>
#include <QtQuick/QQuickWindow>

namespace korvel::platform::qtquick {

/// What screen readers are told of a window in which something may be presented: all that lies in
/// it, or, behind what covers it, nothing. GUI thread.
class WindowAccessible final : public QAccessibleObject {
public:
    explicit WindowAccessible(QQuickWindow& window) : QAccessibleObject(&window) {}

    QWindow* window() const override;
    QRect rect() const override;
    QAccessibleInterface* parent() const override;
    QAccessibleInterface* child(int index) const override;
    int childCount() const override;
    int indexOfChild(const QAccessibleInterface* child) const override;
    QString text(QAccessible::Text kind) const override;
    QAccessible::Role role() const override { return QAccessible::Window; }
    QAccessible::State state() const override;

private:
    QQuickWindow& quick() const;
    QList<QQuickItem*> shown() const;
};

}  // namespace korvel::platform::qtquick
