#pragma once

#include <korvel/platform/uikit/NSLayoutConstraint.h>

#include <memory>

namespace korvel::platform {

enum class NSLayoutAxis { horizontal, vertical, size };

/// An edge, centre line or dimension of a view, to make constraints with. A value; holds the view
/// weakly. The axis keeps a leading edge from being tied to a height.
template <NSLayoutAxis Axis> class NSLayoutAnchor {
public:
    NSLayoutAnchor(std::weak_ptr<UIView> item, NSLayoutAttribute attribute)
        : item_(std::move(item)), attribute_(attribute) {}

    /// This one shall be the other one plus `constant` points. Not active yet.
    std::shared_ptr<NSLayoutConstraint> constraintEqualTo(const NSLayoutAnchor& other,
                                                          double constant = 0) const {
        return make<NSLayoutConstraint>(item_, attribute_, other.item_, other.attribute_, constant);
    }
    std::shared_ptr<NSLayoutConstraint> constraintEqualToConstant(double constant) const
        requires(Axis == NSLayoutAxis::size) {
        return make<NSLayoutConstraint>(item_, attribute_, std::weak_ptr<UIView>(), attribute_,
                                        constant);
    }

private:
    std::weak_ptr<UIView> item_;
    NSLayoutAttribute attribute_;
};

using NSLayoutXAxisAnchor = NSLayoutAnchor<NSLayoutAxis::horizontal>;
using NSLayoutYAxisAnchor = NSLayoutAnchor<NSLayoutAxis::vertical>;
using NSLayoutDimension = NSLayoutAnchor<NSLayoutAxis::size>;

}  // namespace korvel::platform
