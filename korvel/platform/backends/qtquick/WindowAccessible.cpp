#include <korvel/platform/backends/qtquick/Surface.h>
#include <korvel/platform/backends/qtquick/ViewAccessible.h>
#include <korvel/platform/backends/qtquick/WindowAccessible.h>

#include <QtGui/QGuiApplication>

namespace korvel::platform::qtquick {

QQuickWindow& WindowAccessible::quick() const { return *static_cast<QQuickWindow*>(object()); }

QList<QQuickItem*> WindowAccessible::shown() const {
    const auto* const cover = Surface::covering(quick());
    auto found = ViewAccessible::below(*quick().contentItem());
    if (cover && cover->showsAnything()) {
        found.removeIf([&](const auto* item) { return !cover->leavesVisible(*item); });
    }
    return found;
}

QWindow* WindowAccessible::window() const { return &quick(); }

QRect WindowAccessible::rect() const { return quick().geometry(); }

QAccessibleInterface* WindowAccessible::parent() const {
    return QAccessible::queryAccessibleInterface(qApp);
}

QAccessibleInterface* WindowAccessible::child(int index) const {
    return QAccessible::queryAccessibleInterface(shown().value(index));
}

int WindowAccessible::childCount() const { return static_cast<int>(shown().size()); }

int WindowAccessible::indexOfChild(const QAccessibleInterface* child) const {
    return child ? static_cast<int>(shown().indexOf(child->object())) : -1;
}

QString WindowAccessible::text(QAccessible::Text kind) const {
    return kind == QAccessible::Name ? quick().title() : QString();
}

QAccessible::State WindowAccessible::state() const {
    QAccessible::State state;
    state.active = QGuiApplication::focusWindow() == &quick();
    state.invisible = !quick().isVisible();
    return state;
}

}  // namespace korvel::platform::qtquick
