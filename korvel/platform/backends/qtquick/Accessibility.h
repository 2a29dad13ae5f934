#pragma once

class QQuickItem;
class QQuickWindow;

namespace korvel::platform::qtquick {

/// From now on screen readers find the item, as a `ViewAccessible`.
void makeAccessible(QQuickItem& item);

/// Screen readers find in the window only what is not covered. To be called again whenever that
/// has changed.
void tellCovering(QQuickWindow& window);

}  // namespace korvel::platform::qtquick
