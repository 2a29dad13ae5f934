#include <korvel/platform/uikit/UIView.h>

#include <atomic>
#include <utility>

namespace korvel::platform {

NSLayoutConstraint::NSLayoutConstraint(std::weak_ptr<UIView> first,
                                       NSLayoutAttribute firstAttribute,
                                       std::weak_ptr<UIView> second,
                                       NSLayoutAttribute secondAttribute, double constant)
    : first_(std::move(first)),
      second_(std::move(second)),
      firstAttribute_(firstAttribute),
      secondAttribute_(secondAttribute),
      constant_(constant) {}

NSLayoutConstraint::~NSLayoutConstraint() = default;

bool NSLayoutConstraint::hasSecondItem() const {
    const std::weak_ptr<UIView> none;
    return second_.owner_before(none) || none.owner_before(second_);
}

bool NSLayoutConstraint::sameAs(const NSLayoutConstraint& other) const {
    return firstItem() == other.firstItem() && firstAttribute_ == other.firstAttribute_ &&
           secondItem() == other.secondItem() && secondAttribute_ == other.secondAttribute_ &&
           constant_ == other.constant_;
}

void NSLayoutConstraint::markItems() const {
    for (const auto& item : {firstItem(), secondItem()}) {
        if (const auto superview = item ? item->superview() : nullptr) superview->setNeedsLayout();
    }
}

void NSLayoutConstraint::setConstant(double constant) {
    if (constant_ == constant) return;
    constant_ = constant;
    if (isActive()) markItems();
}

void NSLayoutConstraint::setActive(bool active) {
    if (active == isActive()) return;
    if (!active) {
        const auto self = shared_from_this();
        std::erase(owner_.lock()->constraints_, self);
        owner_.reset();
        return markItems();
    }
    const auto second = secondItem();
    auto owner = firstItem();
    while (owner && second && !second->isDescendantOf(*owner)) owner = owner->superview();
    if (!owner || (hasSecondItem() && !second)) return;
    // Pinning again what is pinned already must not pile up: one that nobody else can deactivate
    // gives way to its equal.
    std::erase_if(owner->constraints_,
                  [&](const auto& other) { return other.use_count() == 1 && sameAs(*other); });
    static std::atomic<std::uint64_t> activations = 0;
    order_ = ++activations;
    owner->constraints_.push_back(shared_from_this());
    owner_ = owner;
    markItems();
}

void NSLayoutConstraint::activate(
    std::span<const std::shared_ptr<NSLayoutConstraint>> constraints) {
    for (const auto& constraint : constraints) constraint->setActive(true);
}

void NSLayoutConstraint::activate(
    std::initializer_list<std::shared_ptr<NSLayoutConstraint>> constraints) {
    activate(std::span(constraints.begin(), constraints.size()));
}

}  // namespace korvel::platform
