#pragma once

#include <korvel/platform/foundation/Object.h>
#include <korvel/platform/foundation/SharedObject.h>
#include <korvel/platform/uikit/NSLayoutAttribute.h>

#include <cstdint>
#include <initializer_list>
#include <memory>
#include <span>

namespace korvel::platform {

class UIView;

/// first.firstAttribute = second.secondAttribute + constant; without a second view, = constant.
/// Once active it is kept by the views' nearest common ancestor, which may be one of them, until it
/// is deactivated or one of its views leaves that ancestor. Made by `make`. Main
/// queue.
class KORVEL_API NSLayoutConstraint : public Object, public SharedObject<NSLayoutConstraint> {
public:
    NSLayoutConstraint(std::weak_ptr<UIView> first, NSLayoutAttribute firstAttribute,
                       std::weak_ptr<UIView> second, NSLayoutAttribute secondAttribute,
                       double constant);
    ~NSLayoutConstraint() override;

    std::shared_ptr<UIView> firstItem() const { return first_.lock(); }
    std::shared_ptr<UIView> secondItem() const { return second_.lock(); }
    NSLayoutAttribute firstAttribute() const { return firstAttribute_; }
    NSLayoutAttribute secondAttribute() const { return secondAttribute_; }

    double constant() const { return constant_; }
    void setConstant(double constant);
    bool isActive() const { return !owner_.expired(); }
    /// Views without a common ancestor stay unconstrained.
    void setActive(bool active);

    static void activate(std::span<const std::shared_ptr<NSLayoutConstraint>> constraints);
    static void activate(std::initializer_list<std::shared_ptr<NSLayoutConstraint>> constraints);

private:
    friend UIView;
    friend class ViewLayout;
    bool hasSecondItem() const;  ///< also if that has gone
    bool sameAs(const NSLayoutConstraint& other) const;
    void markItems() const;

    std::weak_ptr<UIView> first_;
    std::weak_ptr<UIView> second_;
    std::weak_ptr<UIView> owner_;
    NSLayoutAttribute firstAttribute_;
    NSLayoutAttribute secondAttribute_;
    double constant_;
    std::uint64_t order_ = 0;  ///< of its activation
};

}  // namespace korvel::platform
