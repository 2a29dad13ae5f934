#pragma once

#include <korvel/platform/foundation/Export.h>

#include <cstdint>

namespace korvel::platform {

class UIView;
class UIViewController;
class UIWindow;
struct UIViewAnimation;

enum class UIViewChange {
    geometry,  ///< frame, bounds, transform or clipping
    alpha,     ///< at once; `animationBegan` tells of the other kind
    hidden,
    content,        ///< what it draws: colours, images, text, layer, spinning
    interaction,    ///< whether it takes touches
    accessibility,  ///< label or role
};

/// Learns what a mirror of the screen's windows must know, each change once and none that changes
/// nothing. Told only of views in a window; what a view did before is told by `subviewsChanged`
/// alone. Called on the main queue from within the change: take a note and mirror it later; do not
/// change the tree in here.
class KORVEL_API UIViewTreeObserver {
public:
    virtual ~UIViewTreeObserver();

    virtual void viewChanged(UIView&, UIViewChange) {}
    /// Views came, went, or changed their order.
    virtual void subviewsChanged(UIView& /*superview*/) {}
    /// The view's alpha has its new value; the user is to see it get there.
    virtual void animationBegan(UIView&, const UIViewAnimation&) {}
    /// The controller's view was put over the window's others, or is about to leave it: whoever
    /// fades pixels out keeps them now.
    virtual void presentationChanged(UIViewController&, bool /*presented*/, bool /*animated*/) {}
    /// It has become, or is no longer, the key window, or its root view controller changed.
    virtual void windowChanged(UIWindow&) {}
    virtual void orientationChanged(std::int64_t /*orientation*/) {}
};

}  // namespace korvel::platform
