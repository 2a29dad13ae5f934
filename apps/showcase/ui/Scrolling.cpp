#include "Scrolling.h"
#include "DirectionalFocus.h"

#include <QPropertyAnimation>
#include <algorithm>
#include <cmath>

namespace scrolling {

namespace {

constexpr int duration = 180;  // milliseconds

double number(const QQuickItem& item, const char* name) { return item.property(name).toDouble(); }

/// One of a scrollable item's two axes.
class Axis {
public:
    Axis(QQuickItem& item, bool vertical) : item_(item), vertical_(vertical) {}

    double length() const { return vertical_ ? item_.height() : item_.width(); }
    double least() const {
        return number(item_, vertical_ ? "originY" : "originX") -
               number(item_, vertical_ ? "topMargin" : "leftMargin");
    }
    double most() const {
        const double end = number(item_, vertical_ ? "originY" : "originX") +
                           number(item_, vertical_ ? "contentHeight" : "contentWidth") +
                           number(item_, vertical_ ? "bottomMargin" : "rightMargin");
        return std::max(least(), end - length());
    }
    double at() const { return number(item_, name()); }

    void goTo(double place) const {
        const double to = std::clamp(place, least(), most());
        if (auto* earlier = animation()) delete earlier;
        if (std::abs(to - at()) < 1) return;
        auto* moving = new QPropertyAnimation(&item_, name(), &item_);
        moving->setObjectName(QLatin1String(name()));
        moving->setDuration(duration);
        moving->setEasingCurve(QEasingCurve::OutCubic);
        moving->setEndValue(to);
        moving->start(QAbstractAnimation::DeleteWhenStopped);
    }
    void finish() const {
        if (auto* moving = animation()) moving->setCurrentTime(duration);
    }
    /// So that [from, to] of the content is seen with a margin, and first of all `from`.
    void show(double from, double to) const {
        constexpr double margins = 0.1;
        const double margin =
            std::max(0.0, std::min(length() * margins, (length() - (to - from)) / 2));
        const double here = at();
        goTo(std::min(from - margin, std::max(here, to + margin - length())));
    }

private:
    const char* name() const { return vertical_ ? "contentY" : "contentX"; }
    QPropertyAnimation* animation() const {
        return item_.findChild<QPropertyAnimation*>(QLatin1String(name()),
                                                    Qt::FindDirectChildrenOnly);
    }

    QQuickItem& item_;
    const bool vertical_;
};

QQuickItem* contentOf(const QQuickItem& flickable) {
    return flickable.property("contentItem").value<QQuickItem*>();
}

/// The outermost region around `item` that lies in the content and fits.
QRectF toShow(const QQuickItem& flickable, const QQuickItem& content, QQuickItem& item) {
    QQuickItem* shown = &item;
    for (auto* each = item.parentItem(); each && each != &content; each = each->parentItem()) {
        const bool isRegion = qobject_cast<DirectionalFocus*>(each) != nullptr;
        if (isRegion && each->height() <= flickable.height()) shown = each;
    }
    return content.mapRectFromItem(shown, shown->boundingRect());
}

}  // namespace

bool isFlickable(const QQuickItem& item) { return item.inherits("QQuickFlickable"); }

void reveal(QQuickItem& item) {
    for (auto* each = item.parentItem(); each; each = each->parentItem()) {
        const auto* content = isFlickable(*each) ? contentOf(*each) : nullptr;
        if (!content || !content->isAncestorOf(&item)) continue;
        const auto whole = toShow(*each, *content, item);
        const auto itself = content->mapRectFromItem(&item, item.boundingRect());
        Axis(*each, true).show(whole.top(), whole.bottom());
        Axis(*each, false).show(itself.left(), itself.right());
    }
}

bool scrollOn(QQuickItem& item, const QQuickItem& region, bool forward, bool unlessInView) {
    constexpr double most = 0.6;
    for (auto* each = &item; each && each != region.parentItem(); each = each->parentItem()) {
        if (!isFlickable(*each)) continue;
        const Axis axis(*each, true);
        const double room = forward ? axis.most() - axis.at() : axis.at() - axis.least();
        if (room < 1) continue;
        const auto rect = each->mapRectFromItem(&item, item.boundingRect());
        const bool beyond = forward ? rect.top() > each->height() : rect.bottom() < 0;
        if (unlessInView && each != &item && !beyond) continue;
        axis.goTo(axis.at() + (forward ? most : -most) * axis.length());
        return true;
    }
    return false;
}

void finish(const QQuickItem* item) {
    for (auto* each = const_cast<QQuickItem*>(item); each; each = each->parentItem()) {
        if (!isFlickable(*each)) continue;
        Axis(*each, true).finish();
        Axis(*each, false).finish();
        if (each->inherits("QQuickItemView")) QMetaObject::invokeMethod(each, "forceLayout");
    }
}

}  // namespace scrolling
