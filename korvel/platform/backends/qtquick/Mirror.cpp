#include <korvel/platform/backends/qtquick/Mirror.h>
#include <korvel/platform/backends/qtquick/Surface.h>
#include <korvel/platform/uikit/UIWindow.h>

namespace korvel::platform::qtquick {

Surface* Mirror::surfaceOf(const UIView& view) const {
    const auto found = surfaces_.find(view.window().get());
    return found == surfaces_.end() ? nullptr : found->second;
}

void Mirror::restoreFocus() {
    for (const auto& [window, surface] : surfaces_) surface->restoreFocus();
}

void Mirror::viewChanged(UIView& view, UIViewChange what) {
    if (auto* surface = surfaceOf(view)) surface->viewChanged(view, what);
}

void Mirror::subviewsChanged(UIView& superview) {
    if (auto* surface = surfaceOf(superview)) surface->subviewsChanged();
}

void Mirror::animationBegan(UIView& view, const UIViewAnimation&) {
    if (auto* surface = surfaceOf(view)) surface->animationBegan(view);
}

void Mirror::presentationChanged(UIViewController& controller, bool presented, bool animated) {
    const auto& view = controller.viewIfLoaded();
    if (presented || !animated || !view) return;
    if (auto* surface = surfaceOf(*view)) surface->fadeOut(*view);
}

void Mirror::orientationChanged(std::int64_t orientation) {
    turned_(static_cast<int>(orientation));
}

}  // namespace korvel::platform::qtquick
