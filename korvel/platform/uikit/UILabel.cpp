#include <korvel/platform/uikit/Canvas.h>
#include <korvel/platform/uikit/Screen.h>
#include <korvel/platform/uikit/UILabel.h>

#include <utility>

namespace korvel::platform {

UILabel::UILabel(const CGRect& frame) : UIView(frame) {}
UILabel::~UILabel() = default;

void UILabel::setText(std::string text) {
    if (assign(text_, std::move(text), UIViewChange::content)) invalidateIntrinsicContentSize();
}

void UILabel::setFont(UIFont font) {
    if (assign(font_, std::move(font), UIViewChange::content)) invalidateIntrinsicContentSize();
}

void UILabel::draw(Canvas& canvas) const {
    if (!text_.empty()) canvas.text(text_, font_, color_, bounds(), alignment_);
}

std::optional<CGSize> UILabel::intrinsicContentSize() const {
    if (const auto within = window()) return within->screen()->textMeasure().sizeOf(text_, font_);
    return EstimatedTextMeasure().sizeOf(text_, font_);
}

}  // namespace korvel::platform
