#include <korvel/platform/uikit/LayoutEquations.h>
#include <korvel/platform/uikit/UIWindow.h>

#include <algorithm>
#include <iterator>
#include <utility>

namespace korvel::platform {

namespace {

bool isVertical(NSLayoutAttribute attribute) {
    return attribute == NSLayoutAttribute::top || attribute == NSLayoutAttribute::bottom ||
           attribute == NSLayoutAttribute::height || attribute == NSLayoutAttribute::centerY;
}

/// An attribute is a share of the view's origin plus a share of its length, along its axis.
struct Shares {
    double origin;
    double length;
};

Shares sharesOf(NSLayoutAttribute attribute) {
    switch (attribute) {
        case NSLayoutAttribute::leading:
        case NSLayoutAttribute::top:
            return {1, 0};
        case NSLayoutAttribute::trailing:
        case NSLayoutAttribute::bottom:
            return {1, 1};
        case NSLayoutAttribute::centerX:
        case NSLayoutAttribute::centerY:
            return {1, 0.5};
        case NSLayoutAttribute::width:
        case NSLayoutAttribute::height:
            break;
    }
    return {0, 1};
}

// The unknowns of each view.
enum Unknown : std::size_t { x, width, y, height, unknownsPerView };

}  // namespace

/// Places the direct subviews of one view: unknown are those that are not placed by their frames;
/// everything else stands where it is.
class ViewLayout {
public:
    explicit ViewLayout(UIView& container) : container_(container) {
        for (const auto& view : container.subviews_) {
            if (!view->translatesMask_) placed_.push_back(view);
        }
    }

    void run() {
        if (placed_.empty()) return;
        for (const auto& view : placed_) collect(*view);
        for (auto* owner = &container_; owner; owner = owner->superview_) collect(*owner);
        std::sort(constraints_.begin(), constraints_.end(),
                  [this](const auto& one, const auto& other) {
                      return std::pair(reachesInside(*one), one->order_) <
                             std::pair(reachesInside(*other), other->order_);
                  });
        const auto values = solve();
        for (std::size_t index = 0; index < placed_.size(); ++index) {
            const double* of = &values[unknownsPerView * index];
            placed_[index]->setRect(
                {of[x], of[y], std::max(0.0, of[width]), std::max(0.0, of[height])});
        }
    }

private:
    /// Those that `owner` keeps and that say something about a placed view.
    void collect(UIView& owner) {
        owner.dropDeadConstraints();
        std::copy_if(owner.constraints_.begin(), owner.constraints_.end(),
                     std::back_inserter(constraints_),
                     [&](const auto& one) { return concerns(*one); });
    }

    bool isPlaced(const std::shared_ptr<UIView>& view) const {
        return view && view->superview_ == &container_ && !view->translatesMask_;
    }
    bool concerns(const NSLayoutConstraint& constraint) const {
        return isPlaced(constraint.firstItem()) || isPlaced(constraint.secondItem());
    }

    /// Ties a placed view to something within it: that has the last word on the view, which is
    /// usually pinned to what surrounds it, and the thing within to the view.
    bool reachesInside(const NSLayoutConstraint& constraint) const {
        const auto holds = [this](const auto& outer, const auto& inner) {
            return isPlaced(outer) && inner && inner != outer && inner->isDescendantOf(*outer);
        };
        const auto first = constraint.firstItem();
        const auto second = constraint.secondItem();
        return holds(first, second) || holds(second, first);
    }

    /// Adds `factor` times the attribute to the equation: to its unknowns, or its known side.
    void add(LayoutEquations::Equation& equation, UIView& view, NSLayoutAttribute attribute,
             double factor) const {
        const auto [origin, length] = sharesOf(attribute);
        const bool vertical = isVertical(attribute);
        const auto found = std::find_if(placed_.begin(), placed_.end(),
                                        [&](const auto& one) { return one.get() == &view; });
        if (found != placed_.end()) {
            const auto first = unknownsPerView * static_cast<std::size_t>(found - placed_.begin());
            equation.factors[first + (vertical ? y : x)] += factor * origin;
            equation.factors[first + (vertical ? height : width)] += factor * length;
            return;
        }
        const auto corner = container_.convertFromWindow(view.convertToWindow({}));
        const auto& size = view.rect_.size;
        equation.sum -= factor * (vertical ? origin * corner.y + length * size.height
                                           : origin * corner.x + length * size.width);
    }

    /// The unknowns of all views in turn. Earlier constraints win over later ones, they all over
    /// the size that the content wants, and that over the frame.
    std::vector<double> solve() const {
        LayoutEquations equations(unknownsPerView * placed_.size());
        for (const auto& constraint : constraints_) {
            auto equation = equations.blank(constraint->constant());
            add(equation, *constraint->firstItem(), constraint->firstAttribute(), 1);
            if (const auto second = constraint->secondItem()) {
                add(equation, *second, constraint->secondAttribute(), -1);
            }
            equations.add(std::move(equation));
        }
        const auto fixSize = [&](std::size_t index, const CGSize& size) {
            equations.fix(unknownsPerView * index + width, size.width);
            equations.fix(unknownsPerView * index + height, size.height);
        };
        for (std::size_t index = 0; index < placed_.size(); ++index) {
            if (const auto size = placed_[index]->intrinsicContentSize()) fixSize(index, *size);
        }
        for (std::size_t index = 0; index < placed_.size(); ++index) {
            const auto& [origin, size] = placed_[index]->rect_;
            fixSize(index, size);
            equations.fix(unknownsPerView * index + x, origin.x);
            equations.fix(unknownsPerView * index + y, origin.y);
        }
        return equations.solution();
    }

    UIView& container_;
    std::vector<std::shared_ptr<UIView>> placed_;
    std::vector<std::shared_ptr<NSLayoutConstraint>> constraints_;  ///< by their activation
};

void UIView::setTranslatesAutoresizingMaskIntoConstraints(bool translates) {
    if (translatesMask_ == translates) return;
    translatesMask_ = translates;
    if (superview_) superview_->setNeedsLayout();
}

template <class Condition> void UIView::dropConstraintsIf(Condition condition) {
    std::erase_if(constraints_, [&](const auto& constraint) {
        const bool dropped = condition(*constraint);
        if (dropped) constraint->owner_.reset();
        return dropped;
    });
}

void UIView::dropConstraintsTo(const UIView& leaving) {
    dropConstraintsIf([&](const NSLayoutConstraint& constraint) {
        const auto first = constraint.firstItem();
        const auto second = constraint.secondItem();
        return (first && first->isDescendantOf(leaving)) ||
               (second && second->isDescendantOf(leaving));
    });
}

/// Those of views that were destroyed, or lost their place when their superview was.
void UIView::dropDeadConstraints() {
    dropConstraintsIf([this](const NSLayoutConstraint& constraint) {
        const auto first = constraint.firstItem();
        const auto second = constraint.secondItem();
        return !first || !first->isDescendantOf(*this) ||
               (constraint.hasSecondItem() && (!second || !second->isDescendantOf(*this)));
    });
}

void UIView::setNeedsLayout() {
    if (needsLayout_) return;
    needsLayout_ = true;
    for (auto* view = superview_; view && !view->subtreeNeedsLayout_; view = view->superview_) {
        view->subtreeNeedsLayout_ = true;
    }
    if (window_) window_->willNeedLayout();
}

void UIView::layoutIfNeeded() {
    auto* top = this;
    while (top->superview_) top = top->superview_;
    const auto kept = top->shared_from_this();
    // A view's own layout may ask for another round; one that never comes to rest is left as it is.
    for (int round = 0; round < 8 && (top->needsLayout_ || top->subtreeNeedsLayout_); ++round) {
        top->layoutSubtree();
    }
    top->forgetLayout();
}

void UIView::layoutSubtree() {
    const auto kept = shared_from_this();
    subtreeNeedsLayout_ = false;
    if (std::exchange(needsLayout_, false)) {
        const auto controller = controller_.lock();
        if (controller) controller->viewWillLayoutSubviews();
        ViewLayout(*this).run();
        layoutSubviews();
        if (controller) controller->viewDidLayoutSubviews();
    }
    for (const auto& view : std::vector(subviews_)) {
        if (view->needsLayout_ || view->subtreeNeedsLayout_) view->layoutSubtree();
    }
}

void UIView::forgetLayout() {
    if (!needsLayout_ && !subtreeNeedsLayout_) return;
    needsLayout_ = false;
    subtreeNeedsLayout_ = false;
    for (const auto& view : subviews_) view->forgetLayout();
}

void UIView::invalidateIntrinsicContentSize() {
    if (superview_ && !translatesMask_) superview_->setNeedsLayout();
}

}  // namespace korvel::platform
