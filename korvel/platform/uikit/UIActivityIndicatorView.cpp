#include <korvel/platform/uikit/Canvas.h>
#include <korvel/platform/uikit/UIActivityIndicatorView.h>

#include <algorithm>

namespace korvel::platform {

UIActivityIndicatorView::UIActivityIndicatorView(const CGRect& frame) : UIView(frame) {}
UIActivityIndicatorView::~UIActivityIndicatorView() = default;

void UIActivityIndicatorView::draw(Canvas& canvas) const {
    constexpr double lineWidth = 4;
    const auto box = bounds();
    const double diameter = std::min(box.size.width, box.size.height) - lineWidth;
    if (diameter <= 0) return;
    canvas.arc({box.midX() - diameter / 2, box.midY() - diameter / 2, diameter, diameter}, -90, 270,
               lineWidth, color_);
}

}  // namespace korvel::platform
