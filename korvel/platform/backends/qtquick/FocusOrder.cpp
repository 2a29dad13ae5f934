#include <korvel/platform/backends/qtquick/FocusOrder.h>

#include <QtCore/QLineF>
#include <QtQuick/QQuickItem>

#include <algorithm>
#include <limits>

namespace korvel::platform::qtquick {

namespace {

/// A row further away is left for later, however well what is in it lies.
constexpr double rowWeight = 4;

double gap(double begin, double end, double otherBegin, double otherEnd) {
    return std::max({0.0, otherBegin - end, begin - otherEnd});
}

bool liesTowards(QPointF from, QPointF to, int arrow) {
    constexpr double least = 0.5;
    switch (arrow) {
        case Qt::Key_Left:
            return to.x() < from.x() - least;
        case Qt::Key_Right:
            return to.x() > from.x() + least;
        case Qt::Key_Up:
            return to.y() < from.y() - least;
        case Qt::Key_Down:
            return to.y() > from.y() + least;
        default:
            return false;
    }
}

template <class Cost> QQuickItem* cheapest(const FocusStops& stops, const Cost& cost) {
    QQuickItem* best = nullptr;
    double least = std::numeric_limits<double>::infinity();
    for (auto* stop : stops) {
        const double price = cost(sceneRectOf(*stop));
        if (price >= least) continue;
        best = stop;
        least = price;
    }
    return best;
}

}  // namespace

QRectF sceneRectOf(const QQuickItem& item) { return item.mapRectToScene(item.boundingRect()); }

void addStopsIn(QQuickItem& item, FocusStops& stops) {
    if (!item.isVisible() || !item.isEnabled()) return;
    if (item.activeFocusOnTab()) stops.push_back(&item);
    auto* next = item.nextItemInFocusChain(true);
    while (next && item.isAncestorOf(next) &&
           std::find(stops.begin(), stops.end(), next) == stops.end()) {
        stops.push_back(next);
        next = next->nextItemInFocusChain(true);
    }
}

QQuickItem* stopWithFocus(const FocusStops& stops, const QQuickItem* focus) {
    const auto found = std::find_if(stops.begin(), stops.end(), [&](const auto* stop) {
        return stop == focus || (focus && stop->isAncestorOf(focus));
    });
    return found == stops.end() ? nullptr : *found;
}

QQuickItem* stopAfter(const FocusStops& stops, const QQuickItem* stop, bool forward) {
    if (stops.empty()) return nullptr;
    const auto found = std::find(stops.begin(), stops.end(), stop);
    if (found == stops.end()) return forward ? stops.front() : stops.back();
    if (forward) return found + 1 == stops.end() ? stops.front() : found[1];
    return found == stops.begin() ? stops.back() : found[-1];
}

QQuickItem* stopTowards(const FocusStops& stops, const QRectF& from, int arrow) {
    return cheapest(stops, [&](const QRectF& rect) {
        if (!liesTowards(from.center(), rect.center(), arrow)) {
            return std::numeric_limits<double>::infinity();
        }
        return gap(from.left(), from.right(), rect.left(), rect.right()) +
               rowWeight * gap(from.top(), from.bottom(), rect.top(), rect.bottom());
    });
}

QQuickItem* stopNearest(const FocusStops& stops, QPointF scenePoint) {
    return cheapest(stops,
                    [&](const QRectF& rect) { return QLineF(rect.center(), scenePoint).length(); });
}

}  // namespace korvel::platform::qtquick
