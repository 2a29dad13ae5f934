#pragma once

#include <QtCore/QRectF>
#include <QtCore/Qt>

#include <optional>
#include <vector>

class QQuickItem;

namespace korvel::platform::qtquick {

/// What keys can reach, in the order in which Tab does.
using FocusStops = std::vector<QQuickItem*>;

/// Adds what Tab reaches in a host's item.
void addStopsIn(QQuickItem& item, FocusStops& stops);
/// That which has the focus, or has in it what has; null if none does.
QQuickItem* stopWithFocus(const FocusStops& stops, const QQuickItem* focus);
/// Round and round; the first, or the last, after null.
QQuickItem* stopAfter(const FocusStops& stops, const QQuickItem* stop, bool forward);
/// The nearest one in the arrow key's direction from a rectangle of the scene: row by row, since
/// rows are what people see. Null if there is none.
QQuickItem* stopTowards(const FocusStops& stops, const QRectF& from, int arrow);
QQuickItem* stopNearest(const FocusStops& stops, QPointF scenePoint);

QRectF sceneRectOf(const QQuickItem& item);

}  // namespace korvel::platform::qtquick
