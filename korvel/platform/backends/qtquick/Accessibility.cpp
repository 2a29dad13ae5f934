#include <korvel/platform/backends/qtquick/Accessibility.h>
#include <korvel/platform/backends/qtquick/Surface.h>
#include <korvel/platform/backends/qtquick/ViewAccessible.h>
#include <korvel/platform/backends/qtquick/WindowAccessible.h>

#include <QtQml/qqml.h>
#include <QtCore/QUrl>
#include <QtQml/QQmlComponent>
#include <QtQml/QQmlEngine>

namespace korvel::platform::qtquick {

namespace {

/// The type behind QML's `Accessible`, which is the only door to Qt Quick's accessibility. Its
/// header is private and promises nothing from one release to the next; its name is QML's own and
/// stays.
const QMetaObject* findType() {
    return QMetaType::fromName("QQuickAccessibleAttached*").metaObject();
}

const QMetaObject* attachedType() {
    static const QMetaObject* const type = [] {
        if (const auto* known = findType()) return known;
        QQmlEngine engine;  // a host without QML: the import registers the types
        QQmlComponent component(&engine);
        component.setData("import QtQuick\nItem {}", QUrl());
        return findType();
    }();
    return type;
}

QAccessibleInterface* makeInterface(const QString& className, QObject* object) {
    if (className == QLatin1String(ViewItem::staticMetaObject.className())) {
        auto* item = qobject_cast<ViewItem*>(object);
        return item && item->isDescribed() ? new ViewAccessible(*item) : nullptr;
    }
    if (className == QLatin1String(QQuickWindow::staticMetaObject.className())) {
        auto* window = qobject_cast<QQuickWindow*>(object);
        return window && Surface::covering(*window) ? new WindowAccessible(*window) : nullptr;
    }
    return nullptr;
}

/// Who was installed last is asked first; Qt Quick's own comes with its types.
void install() {
    attachedType();
    QAccessible::installFactory(makeInterface);
}

/// A window that was asked about before has an interface already: another one takes its place.
void replaceInterface(QQuickWindow& window) {
    auto* known = QAccessible::queryAccessibleInterface(&window);
    if (!known || dynamic_cast<WindowAccessible*>(known)) return;
    QAccessibleEvent gone(known, QAccessible::ObjectDestroyed);
    QAccessible::updateAccessibility(&gone);
    QAccessible::deleteAccessibleInterface(QAccessible::uniqueId(known));
    QAccessibleEvent come(&window, QAccessible::ObjectCreated);
    QAccessible::updateAccessibility(&come);
}

/// Null if there is no such door.
QObject* attach(QQuickItem& item) {
    const auto* type = attachedType();
    const auto attached = type ? qmlAttachedPropertiesFunction(&item, type) : nullptr;
    return attached ? qmlAttachedPropertiesObject(&item, attached) : nullptr;
}

}  // namespace

void makeAccessible(QQuickItem& item) {
    install();
    attach(item);
}

void makeAccessibleText(QQuickItem& item, const QString& text) {
    auto* const attached = attach(item);
    if (!attached) return;
    attached->setProperty("role", QAccessible::StaticText);
    attached->setProperty("name", text);
}

void tellCovering(QQuickWindow& window) {
    install();
    if (!QAccessible::isActive()) return;
    replaceInterface(window);
    QAccessibleEvent reordered(&window, QAccessible::ObjectReorder);
    QAccessible::updateAccessibility(&reordered);
}

}  // namespace korvel::platform::qtquick
