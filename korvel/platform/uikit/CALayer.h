#pragma once

#include <korvel/platform/foundation/Object.h>

#include <memory>

namespace korvel::platform {

class UIView;

/// What a view's pixels come from besides its own drawing; video, for one. `UIView::makeLayer`
/// chooses the class. Main queue.
class KORVEL_API CALayer : public Object {
public:
    CALayer();
    ~CALayer() override;

    /// The view that it backs; nothing once that has gone.
    std::shared_ptr<UIView> view() const { return view_.lock(); }
    /// Its picture has changed: tells whoever shows the view.
    void setNeedsDisplay();

private:
    friend UIView;
    std::weak_ptr<UIView> view_;
};

}  // namespace korvel::platform
