#include <korvel/platform/backends/qtquick/FocusOrder.h>
#include <korvel/platform/backends/qtquick/Mirror.h>
#include <korvel/platform/backends/qtquick/Surface.h>
#include <korvel/platform/backends/qtquick/ViewAccessible.h>
#include <korvel/platform/uikit/UIControl.h>

#include <QtQuick/QQuickWindow>

#include <algorithm>
#include <utility>

namespace korvel::platform::qtquick {

namespace {

bool isTabbing(const QKeyEvent& event) {
    constexpr auto others = Qt::ControlModifier | Qt::AltModifier | Qt::MetaModifier;
    return (event.key() == Qt::Key_Tab || event.key() == Qt::Key_Backtab) &&
           !(event.modifiers() & others);
}

bool hidesControls(const UIView& view) {
    const auto& subviews = view.subviews();
    return (view.isHidden() && dynamic_cast<const UIControl*>(&view)) ||
           std::any_of(subviews.begin(), subviews.end(),
                       [](const auto& subview) { return hidesControls(*subview); });
}

Surface* surfaceAround(QQuickItem* item) {
    while (item && !qobject_cast<Surface*>(item)) item = item->parentItem();
    return static_cast<Surface*>(item);
}

}  // namespace

QQuickItem* Surface::focusItem() const { return window() ? window()->activeFocusItem() : nullptr; }

bool Surface::holdsFocus() const {
    const auto* const focus = focusItem();
    return focus && (focus == this || isAncestorOf(focus));
}

// MARK: what there is to go to

void Surface::collectStops(const UIView& view, FocusStops& found) const {
    auto* item = itemOf(view);
    if (!item || view.isHidden()) return;
    if (item->takesFocus()) found.push_back(item);
    if (auto* lent = item->lentItem()) addStopsIn(*lent, found);
    for (const auto& subview : view.subviews()) collectStops(*subview, found);
}

FocusStops Surface::stops() const {
    FocusStops found;
    if (shown_ && !shown_->subviews().empty()) collectStops(*shown_->subviews().back(), found);
    return found;
}

bool Surface::goTo(QQuickItem* stop, Qt::FocusReason reason) {
    if (stop) stop->forceActiveFocus(reason);
    return stop != nullptr;
}

/// By a tap on the picture, since that is what brings them; the key that did it has done enough.
bool Surface::showControls() {
    if (!hidesControls(*shown_->subviews().back())) return false;
    tapPicture();
    updatePolish();
    const auto found = stops();
    if (!stopWithFocus(found, focusItem())) {
        goTo(stopNearest(found, sceneRectOf(*this).center()), Qt::TabFocusReason);
    }
    return true;
}

// MARK: going there

bool Surface::moveFocus(bool forward) {
    if (!shown_ || shown_->subviews().empty()) return false;
    const auto found = stops();
    if (found.empty()) return showControls();
    return goTo(stopAfter(found, stopWithFocus(found, focusItem()), forward),
                forward ? Qt::TabFocusReason : Qt::BacktabFocusReason);
}

bool Surface::moveFocusTowards(int arrow) {
    const bool vertical = arrow == Qt::Key_Up || arrow == Qt::Key_Down;
    const auto found = stops();
    if (found.empty()) return covers() && showControls();
    const auto* const from = stopWithFocus(found, focusItem());
    auto rect = sceneRectOf(from ? *from : *this);
    // From the picture itself into it, from beyond the other edge.
    if (!from && vertical) rect.moveTop(arrow == Qt::Key_Down ? -rect.height() : rect.bottom());
    if (goTo(stopTowards(found, rect, arrow), Qt::TabFocusReason)) return true;
    // Beyond the controls lies the picture; beside the place of an embedded one, the host's page.
    if (covers() && vertical && from) forceActiveFocus(Qt::TabFocusReason);
    return covers();
}

void Surface::lost(ViewItem& item) {
    forceActiveFocus(Qt::OtherFocusReason);
    returning_ = &item;
}

void Surface::found(ViewItem& item) {
    if (returning_ == &item && hasActiveFocus()) item.forceActiveFocus(Qt::TabFocusReason);
}

void Surface::focusInEvent(QFocusEvent* event) {
    QQuickItem::focusInEvent(event);
    returning_ = nullptr;
    const auto reason = event->reason();
    if (reason == Qt::TabFocusReason || reason == Qt::BacktabFocusReason) {
        const auto side = covers() ? FocusRing::Side::inside : FocusRing::Side::outside;
        ring_ = std::make_unique<FocusRing>(*this, side);
    }
    if (!QAccessible::isActive()) return;
    for (auto* item : ViewAccessible::below(*this)) {
        auto* const picture = QAccessible::queryAccessibleInterface(item);
        if (!picture->state().focused) continue;
        QAccessibleEvent focused(item, QAccessible::Focus);
        QAccessible::updateAccessibility(&focused);
    }
}

void Surface::focusOutEvent(QFocusEvent* event) {
    QQuickItem::focusOutEvent(event);
    ring_.reset();
}

// MARK: keeping it in what covers the window, and giving it back

Surface* Surface::covering(const QQuickWindow& window) {
    const auto items = window.contentItem()->childItems();
    for (auto* item : items) {
        auto* surface = qobject_cast<Surface*>(item);
        if (surface && surface->covers() && surface->shown_) return surface;
    }
    return nullptr;
}

/// In it, or in one of the popups above it.
bool Surface::leavesVisible(const QQuickItem& item) const {
    if (&item == this || isAncestorOf(&item)) return true;
    const auto* top = &item;
    while (top->parentItem() && top->parentItem() != parentItem()) top = top->parentItem();
    return top->parentItem() && top->z() > z();
}

/// Before the toolkit's own chain has it, which knows nothing of who covers whom.
bool Surface::eventFilter(QObject*, QEvent* event) {
    if (event->type() != QEvent::KeyPress || !showsAnything_) return false;
    const auto* const focus = focusItem();
    const bool isRoot = focus && focus == window()->contentItem();
    if (focus && !isRoot && !leavesVisible(*focus)) return false;
    if (focus && !isRoot && !holdsFocus()) return false;  // a popup's
    auto& key = static_cast<QKeyEvent&>(*event);
    const bool tabbing = isTabbing(key);
    const bool forward = key.key() == Qt::Key_Tab && !(key.modifiers() & Qt::ShiftModifier);
    if (tabbing) moveFocus(forward);
    const bool used = tabbing || (!holdsFocus() && performKey(key.key()));
    if (used) key.accept();
    return used;
}

void Surface::keepFocusInside() {
    auto* const focus = focusItem();
    if (!showsAnything_ || !focus) return;
    if (holdsFocus()) {
        lastInside_ = focus;
    } else if (!leavesVisible(*focus)) {
        if (focus != window()->contentItem()) formerFocus_ = focus;  // it shall have it afterwards
        auto* const last = lastInside_.data();
        const bool stays = last && isAncestorOf(last) && last->isVisible() && last->isEnabled();
        (stays ? last : this)->forceActiveFocus(Qt::OtherFocusReason);
    }
}

void Surface::takeFocus() {
    auto* const focus = focusItem();
    auto* const embedded = holdsFocus() ? nullptr : surfaceAround(focus);
    if (embedded) embedded->rememberFocus();
    formerFocus_ = embedded ? embedded : focus;
    if (focus && focus == window()->contentItem()) formerFocus_ = nullptr;
    if (!holdsFocus()) forceActiveFocus(Qt::PopupFocusReason);
}

void Surface::giveFocusBack() {
    auto* const former = std::exchange(formerFocus_, nullptr).data();
    lastInside_ = nullptr;
    if (former && !qobject_cast<Surface*>(former)) {
        former->forceActiveFocus(Qt::PopupFocusReason);
    } else if (holdsFocus()) {
        focusItem()->setFocus(false, Qt::PopupFocusReason);
    }
    mirror_->restoreFocus();
}

void Surface::rememberFocus() {
    const auto* const item = qobject_cast<const ViewItem*>(focusItem());
    remembers_ = true;
    rememberedView_ = item ? item->view() : nullptr;
}

void Surface::restoreFocus() {
    const auto* const focus = focusItem();
    const bool isFree = window() && (!focus || focus == window()->contentItem());
    if (!remembers_ || !showsAnything_ || !isFree) return;
    remembers_ = false;
    const auto view = rememberedView_.lock();
    auto* const item = view ? itemOf(*view) : nullptr;
    forceActiveFocus(Qt::OtherFocusReason);
    returning_ = item;
    if (item && item->takesFocus()) found(*item);
}

}  // namespace korvel::platform::qtquick
