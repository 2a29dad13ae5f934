#include "DirectionalFocus.h"
#include "Scrolling.h"

#include <QKeyEvent>
#include <QQuickWindow>
#include <algorithm>
#include <cmath>
#include <functional>
#include <limits>
#include <optional>

namespace {

using Direction = DirectionalFocus::Direction;

bool isVertical(Direction direction) {
    return direction == Direction::up || direction == Direction::down;
}

bool isForward(Direction direction) {
    return direction == Direction::right || direction == Direction::down;
}

bool holds(const QQuickItem& outer, const QQuickItem* item) {
    return item && (item == &outer || outer.isAncestorOf(item));
}

QRectF rectIn(const QQuickItem& region, const QQuickItem& item) {
    return region.mapRectFromItem(&item, item.boundingRect());
}

bool isUsable(const QQuickItem& item) { return item.isVisible() && item.isEnabled(); }

bool holdsStop(const QQuickItem& region) {
    const auto children = region.childItems();
    return std::any_of(children.begin(), children.end(), [](const QQuickItem* child) {
        return isUsable(*child) && (child->activeFocusOnTab() || holdsStop(*child));
    });
}

bool holdsRegion(const QQuickItem& item) {
    const auto children = item.childItems();
    return std::any_of(children.begin(), children.end(), [](const QQuickItem* child) {
        const bool isRegion = qobject_cast<const DirectionalFocus*>(child) != nullptr;
        return isUsable(*child) && ((isRegion && holdsStop(*child)) || holdsRegion(*child));
    });
}

bool isStop(const QQuickItem& item) {
    if (qobject_cast<const DirectionalFocus*>(&item)) return holdsStop(item);
    if (!item.activeFocusOnTab() || holdsRegion(item)) return false;
    return !scrolling::isFlickable(item) || !holdsStop(item);  // what only has text is one itself
}

/// The innermost.
const QQuickItem* regionAround(const QQuickItem* item) {
    while (item && !qobject_cast<const DirectionalFocus*>(item)) item = item->parentItem();
    return item;
}

/// A rectangle as seen by somebody who looks in the direction.
struct Extent {
    double near, far, left, right;
};

Extent extentOf(const QRectF& rect, Direction direction) {
    switch (direction) {
        case Direction::left:
            return {-rect.right(), -rect.left(), rect.top(), rect.bottom()};
        case Direction::right:
            return {rect.left(), rect.right(), rect.top(), rect.bottom()};
        case Direction::up:
            return {-rect.bottom(), -rect.top(), rect.left(), rect.right()};
        case Direction::down:
            break;
    }
    return {rect.top(), rect.bottom(), rect.left(), rect.right()};
}

/// The way to there; nothing if it does not lie in the direction.
std::optional<double> distance(const QRectF& from, const QRectF& to, Direction direction) {
    constexpr double touching = 2;
    constexpr double sidewaysWeight = 2;
    constexpr double centreWeight = 0.1;
    const auto here = extentOf(from, direction);
    const auto there = extentOf(to, direction);
    if (there.near < here.far - touching) return std::nullopt;
    const double ahead = std::max(0.0, there.near - here.far);
    const double aside = std::max({0.0, there.left - here.right, here.left - there.right});
    // Rows are read up and down as wholes; to the side only what lies there is meant.
    if (!isVertical(direction) && aside > ahead) return std::nullopt;
    const double centres = std::abs((there.left + there.right) - (here.left + here.right)) / 2;
    return ahead + sidewaysWeight * aside + centreWeight * centres;
}

void collect(const DirectionalFocus& region, const QQuickItem& below, const QQuickItem* current,
             const QRectF& clip, const std::function<void(QQuickItem&, const QRectF&)>& found) {
    for (auto* child : below.childItems()) {
        if (!isUsable(*child)) continue;
        auto seen = clip;
        // What is scrolled away counts only within the list that the focus is in.
        if (scrolling::isFlickable(*child) && !holds(*child, current)) {
            seen = seen.intersected(rectIn(region, *child));
        }
        if (isStop(*child)) {
            const auto rect = rectIn(region, *child).intersected(seen);
            if (!rect.isEmpty()) found(*child, rect);
        } else {
            collect(region, *child, current, seen, found);
        }
    }
}

std::optional<Direction> directionOf(const QKeyEvent& event) {
    if (event.modifiers() & ~Qt::KeypadModifier) return std::nullopt;
    switch (event.key()) {
        case Qt::Key_Left:
            return Direction::left;
        case Qt::Key_Right:
            return Direction::right;
        case Qt::Key_Up:
            return Direction::up;
        case Qt::Key_Down:
            return Direction::down;
        default:
            return std::nullopt;
    }
}

}  // namespace

DirectionalFocus::DirectionalFocus(QQuickItem* parent) : QQuickItem(parent) {
    setFlag(ItemIsFocusScope);
}

std::vector<DirectionalFocus::Stop> DirectionalFocus::stops() const {
    constexpr double everywhere = 1e6;
    std::vector<Stop> list;
    const QRectF all(-everywhere, -everywhere, 2 * everywhere, 2 * everywhere);
    collect(*this, *this, window() ? window()->activeFocusItem() : nullptr, all,
            [&](QQuickItem& item, const QRectF& seen) {
                list.push_back({&item, seen});
            });
    return list;
}

QQuickItem* DirectionalFocus::stopHolding(const QQuickItem* item) const {
    if (!item || item == this || !isAncestorOf(item)) return nullptr;
    QQuickItem* outermost = nullptr;
    for (auto* each = const_cast<QQuickItem*>(item); each != this; each = each->parentItem()) {
        if (isUsable(*each) && isStop(*each)) outermost = each;
    }
    return outermost;
}

QQuickItem* DirectionalFocus::remembered() const {
    const QQuickItem* item = this;
    while (item->isFocusScope() && item->scopedFocusItem()) item = item->scopedFocusItem();
    return stopHolding(item);
}

void DirectionalFocus::keyPressEvent(QKeyEvent* event) {
    const auto direction = directionOf(*event);
    event->setAccepted(direction && move(*direction));
}

bool DirectionalFocus::move(Direction direction) {
    const auto* focused = window() ? window()->activeFocusItem() : nullptr;
    scrolling::finish(focused);
    auto* const current = stopHolding(focused);
    if (!current) {
        enter();
        return holdsStop(*this);
    }
    const bool vertical = isVertical(direction);
    const bool forward = isForward(direction);
    const auto scrollsOn = [&](bool unlessInView) {
        return vertical && scrolling::scrollOn(*current, *this, forward, unlessInView);
    };
    if (scrollsOn(true)) return true;
    const auto from = rectIn(*this, *current);
    QQuickItem* nearest = nullptr;
    double least = std::numeric_limits<double>::max();
    for (const auto& stop : stops()) {
        const auto way = distance(from, stop.seen, direction);
        if (stop.item == current || !way || *way >= least) continue;
        least = *way;
        nearest = stop.item;
    }
    if (!nearest) return scrollsOn(false);
    give(*nearest, from, direction);
    return true;
}

void DirectionalFocus::give(QQuickItem& stop, const QRectF& from, Direction direction) {
    auto* const region = qobject_cast<DirectionalFocus*>(&stop);
    if (!region) {
        stop.forceActiveFocus(Qt::TabFocusReason);
        return scrolling::reveal(stop);
    }
    auto* inner = region->remembered();
    const auto origin = region->mapRectFromItem(this, from);
    double least = std::numeric_limits<double>::max();
    for (const auto& each : inner ? std::vector<Stop>() : region->stops()) {
        const auto way = distance(origin, each.seen, direction).value_or(least / 2);
        if (way >= least) continue;
        least = way;
        inner = each.item;
    }
    if (inner) region->give(*inner, origin, direction);
}

void DirectionalFocus::enter() {
    auto* stop = remembered();
    if (!stop) {
        const auto all = stops();
        double least = std::numeric_limits<double>::max();
        for (const auto& each : all) {  // nearest to where it was, else the first
            const double way =
                last_.isNull() ? 0 : QLineF(each.seen.center(), last_.center()).length();
            if (way >= least) continue;
            least = way;
            stop = each.item;
        }
    }
    forceActiveFocus(Qt::TabFocusReason);
    if (stop) give(*stop, {}, Direction::down);
}

void DirectionalFocus::itemChange(ItemChange change, const ItemChangeData& data) {
    if (change == ItemSceneChange) {
        if (watched_) disconnect(watched_, nullptr, this, nullptr);
        watched_ = data.window;
        if (watched_) {
            connect(watched_, &QQuickWindow::activeFocusItemChanged, this,
                    &DirectionalFocus::follow);
        }
    }
    QQuickItem::itemChange(change, data);
}

/// Scopes get the focus before there is anything in them, and what had it may vanish.
void DirectionalFocus::follow() {
    auto* focused = window() ? window()->activeFocusItem() : nullptr;
    disconnect(waiting_);
    disconnect(shown_);
    disconnect(enabled_);
    if (const auto* stop = stopHolding(focused)) last_ = rectIn(*this, *stop);
    if (!focused || regionAround(focused) != this) return;
    waiting_ = connect(window(), &QQuickWindow::afterAnimating, this, &DirectionalFocus::settle,
                       Qt::QueuedConnection);
    shown_ = connect(focused, &QQuickItem::visibleChanged, this, &DirectionalFocus::follow);
    enabled_ = connect(focused, &QQuickItem::enabledChanged, this, &DirectionalFocus::follow);
    window()->update();
}

void DirectionalFocus::settle() {
    const auto* focused = window() ? window()->activeFocusItem() : nullptr;
    if (!focused || regionAround(focused) != this || stopHolding(focused)) {
        disconnect(waiting_);
    } else if (isVisible() && isEnabled() && holdsStop(*this)) {
        disconnect(waiting_);
        enter();
    }
}
