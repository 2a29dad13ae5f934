#pragma once

class QQuickItem;

/// What the focus does to the scrollable items around it.
namespace scrolling {

bool isFlickable(const QQuickItem& item);
/// Shows `item`, and what follows it a little; with all of the region that it lies in where that
/// fits.
void reveal(QQuickItem& item);
/// By most of what is seen, if there is more, of the innermost that scrolls around `item` and lies
/// in `region`. `unlessInView`: only if `item` itself scrolls, or is not in view on that side.
bool scrollOn(QQuickItem& item, const QQuickItem& region, bool forward, bool unlessInView);
/// All that moves around `item` arrives, and lists have made the items that are then seen.
void finish(const QQuickItem* item);

}  // namespace scrolling
