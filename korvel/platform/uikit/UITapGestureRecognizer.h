#pragma once

#include <korvel/platform/foundation/Object.h>
#include <korvel/platform/foundation/SharedObject.h>

#include <functional>
#include <memory>

namespace korvel::platform {

/// Fires when a touch on its view, or on something in it that is no control, goes up again soon and
/// where it went down; the touch is then cancelled for the view. Made by `make`. Main
/// queue.
class KORVEL_API UITapGestureRecognizer : public Object,
                                          public SharedObject<UITapGestureRecognizer> {
public:
    using Action = std::function<void(UITapGestureRecognizer& sender)>;

    /// `action` runs while `target` lives.
    UITapGestureRecognizer(std::weak_ptr<void> target, Action action);
    ~UITapGestureRecognizer() override;

    /// `make<UITapGestureRecognizer>(overlay, &Overlay::didTap)`; weak.
    template <class Target, class Owner>
    UITapGestureRecognizer(const std::shared_ptr<Target>& target,
                           void (Owner::*action)(UITapGestureRecognizer&))
        : UITapGestureRecognizer(target, [pointer = target.get(), action](auto& sender) {
              (pointer->*action)(sender);
          }) {}

    bool isEnabled() const { return enabled_; }
    void setEnabled(bool enabled) { enabled_ = enabled; }

    /// What the window does when it saw a tap.
    void recognize();

private:
    std::weak_ptr<void> target_;
    Action action_;
    bool enabled_ = true;
};

}  // namespace korvel::platform
