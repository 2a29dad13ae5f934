#include <korvel/platform/backends/qtquick/HostItemView.h>

#include <algorithm>
#include <utility>

namespace korvel::platform::qtquick {

HostItemView::HostItemView(QQuickItem& item, std::weak_ptr<UIWindow> home)
    : item_(&item), home_(std::move(home)) {}

HostItemView::~HostItemView() = default;

bool HostItemView::isAtHome() const {
    const auto home = home_.lock();
    return home && superview() == home;
}

void HostItemView::goHome() {
    const auto home = home_.lock();
    if (!home || window()) return;
    home->addSubview(shared_from_this());
    setFrame(home->bounds());
}

/// A subview that neither says where it stands nor is told so by a constraint has all of the item:
/// so does a player that came back from full screen, whatever size the item had when it left.
void HostItemView::layoutSubviews() {
    for (const auto& view : std::vector(subviews())) {
        if (view->translatesAutoresizingMaskIntoConstraints()) continue;
        const bool told =
            std::any_of(constraints().begin(), constraints().end(), [&](const auto& constraint) {
                return constraint->firstItem() == view || constraint->secondItem() == view;
            });
        if (!told) view->setFrame(bounds());
    }
}

ItemLoan::ItemLoan(QQuickItem& item, QQuickItem& place)
    : item_(&item),
      place_(&place),
      formerParent_(item.parentItem()),
      formerPosition_(item.position()),
      formerSize_(item.size()) {
    item.setParentItem(&place);
    item.setPosition({});
}

ItemLoan::~ItemLoan() {
    if (!item_ || item_->parentItem() != place_) return;  // somebody took it meanwhile
    item_->setParentItem(formerParent_);
    item_->setPosition(formerPosition_);
    item_->setSize(formerSize_);
}

void ItemLoan::resize(QSizeF size) const {
    if (item_ && item_->parentItem() == place_) item_->setSize(size);
}

}  // namespace korvel::platform::qtquick
