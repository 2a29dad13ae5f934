#pragma once

#include <korvel/platform/uikit/UIControlEvents.h>
#include <korvel/platform/uikit/UIControlState.h>
#include <korvel/platform/uikit/UIView.h>

namespace korvel::platform {

/// Turns touches into events. A touch that it has begun to track stays its own until it ends, also
/// when interaction is switched off meanwhile.
class KORVEL_API UIControl : public UIView {
public:
    using Action = std::function<void()>;

    explicit UIControl(const CGRect& frame = {});
    ~UIControl() override;

    /// `action` runs at each of the events while `target` lives. Targets are called in the order in
    /// which they were added.
    void addTarget(std::weak_ptr<void> target, Action action, UIControlEvents events);
    /// `button->addTarget(player, &Player::closeBtnTapped, UIControlEvents::touchUpInside)`; weak.
    template <class Target, class Owner>
    void addTarget(const std::shared_ptr<Target>& target, void (Owner::*action)(),
                   UIControlEvents events) {
        addTarget(
            std::weak_ptr<void>(target), [pointer = target.get(), action] { (pointer->*action)(); },
            events);
    }
    void removeTarget(const std::shared_ptr<void>& target);
    /// As if the user had done it.
    void sendActions(UIControlEvents events);

    bool isEnabled() const { return enabled_; }
    void setEnabled(bool enabled);
    bool isHighlighted() const { return highlighted_; }
    bool isTracking() const { return tracking_; }
    UIControlState state() const;

    /// A finger cannot hit anything smaller.
    static constexpr double leastTouchSize = 48;

    void touchesBegan(const UITouch& touch) override;
    void touchesMoved(const UITouch& touch) override;
    void touchesEnded(const UITouch& touch) override;
    void touchesCancelled(const UITouch& touch) override;

protected:
    // In the control's own coordinates. The event of the touch itself is sent before the first and
    // after the last.
    virtual void beginTracking(CGPoint) {}
    virtual void continueTracking(CGPoint) {}
    virtual void endTracking() {}
    CGRect touchBounds() const override;  ///< grown to the least size, about its centre
    /// Whether a touch there still belongs to it; a finger may stray a little.
    virtual bool keepsTouch(CGPoint point) const;
    virtual bool looksHighlighted() const { return true; }  ///< while it is touched

private:
    struct Target {
        std::weak_ptr<void> object;
        Action action;
        UIControlEvents events;
    };

    void setHighlighted(bool highlighted);

    std::vector<Target> targets_;
    bool enabled_ = true;
    bool highlighted_ = false;
    bool tracking_ = false;
};

}  // namespace korvel::platform
