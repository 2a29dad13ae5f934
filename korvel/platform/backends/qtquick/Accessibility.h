#pragma once

#include <QtCore/QString>

class QQuickItem;
class QQuickWindow;

namespace korvel::platform::qtquick {

/// From now on screen readers find the item, as a `ViewAccessible`.
void makeAccessible(QQuickItem& item);

/// Likewise, as a text that nobody has to listen to.
void makeAccessibleText(QQuickItem& item, const QString& text);

/// Screen readers find in the window only what is not covered. To be called again whenever that
/// has changed.
void tellCovering(QQuickWindow& window);

}  // namespace korvel::platform::qtquick
