#pragma once

#include <QtGui/qaccessible.h>

class QQuickItem;

namespace korvel::platform::qtquick {

/// Tells screen readers what the item is. At the first call for an item, `press()`, `increase()`
/// and `decrease()` of the item, if it has such slots, become what they can do with it.
void describe(QQuickItem& item, QAccessible::Role role, const QString& name);

}  // namespace korvel::platform::qtquick
