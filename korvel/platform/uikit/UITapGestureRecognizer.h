#pragma once

#include <korvel/platform/foundation/Object.h>

#include <functional>
#include <memory>

namespace korvel::platform {

/// Fires when a touch on its view, or on something in it that is no control, goes up again soon and
/// where it went down; the touch is then cancelled for the view. Lives in a `std::shared_ptr`. Main
/// queue.
class KORVEL_API UITapGestureRecognizer final
    : public Object,
      public std::enable_shared_from_this<UITapGestureRecognizer> {
public:
    using Action = std::function<void(UITapGestureRecognizer& sender)>;

    /// `action` runs while `target` lives.
    UITapGestureRecognizer(std::weak_ptr<void> target, Action action);
    ~UITapGestureRecognizer() override;

    /// `std::make_shared<UITapGestureRecognizer>(overlay, &Overlay::didTap)`; weak.
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
