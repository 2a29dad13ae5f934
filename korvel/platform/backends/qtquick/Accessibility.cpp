#include <korvel/platform/backends/qtquick/Accessibility.h>

#include <QtQml/qqml.h>
#include <QtCore/QUrl>
#include <QtQml/QQmlComponent>
#include <QtQml/QQmlEngine>
#include <QtQuick/QQuickItem>

namespace korvel::platform::qtquick {

namespace {

/// The type behind QML's `Accessible`, which is the only door to Qt Quick's accessibility. Its
/// header is private and promises nothing from one release to the next; its name and its
/// properties are QML's own and stay.
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

}  // namespace

void describe(QQuickItem& item, QAccessible::Role role, const QString& name) {
    const auto* type = attachedType();
    const auto attach = type ? qmlAttachedPropertiesFunction(&item, type) : nullptr;
    if (!attach) return;
    const bool known = qmlAttachedPropertiesObject(&item, attach, false) != nullptr;
    auto* accessible = qmlAttachedPropertiesObject(&item, attach);
    if (!accessible) return;
    accessible->setProperty("role", static_cast<int>(role));
    accessible->setProperty("name", name);
    if (known) return;
    QObject::connect(accessible, SIGNAL(pressAction()), &item, SLOT(press()));
    QObject::connect(accessible, SIGNAL(increaseAction()), &item, SLOT(increase()));
    QObject::connect(accessible, SIGNAL(decreaseAction()), &item, SLOT(decrease()));
}

}  // namespace korvel::platform::qtquick
