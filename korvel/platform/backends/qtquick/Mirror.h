#pragma once

#include <korvel/platform/uikit/UIViewTreeObserver.h>

#include <functional>
#include <unordered_map>

namespace korvel::platform::qtquick {

class Surface;

/// Hands what the view tree tells to the surface that shows the view's window.
class Mirror final : public UIViewTreeObserver {
public:
    explicit Mirror(std::function<void(int)> turned) : turned_(std::move(turned)) {}

    void add(const UIWindow& window, Surface& surface) { surfaces_[&window] = &surface; }
    void remove(const UIWindow& window) { surfaces_.erase(&window); }

    /// In whichever surface remembers that it had it.
    void restoreFocus();

    void viewChanged(UIView& view, UIViewChange what) override;
    void subviewsChanged(UIView& superview) override;
    void animationBegan(UIView& view, const UIViewAnimation& animation) override;
    void presentationChanged(UIViewController& controller, bool presented, bool animated) override;
    void orientationChanged(std::int64_t orientation) override;

private:
    Surface* surfaceOf(const UIView& view) const;

    std::unordered_map<const UIWindow*, Surface*> surfaces_;
    std::function<void(int)> turned_;
};

}  // namespace korvel::platform::qtquick
