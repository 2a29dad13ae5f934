#pragma once

#include <korvel/platform/uikit/NSTextAlignment.h>
#include <korvel/platform/uikit/UIFont.h>
#include <korvel/platform/uikit/UIView.h>

namespace korvel::platform {

/// A line of text.
class KORVEL_API UILabel : public UIView {
public:
    explicit UILabel(const CGRect& frame = {});
    ~UILabel() override;

    const std::string& text() const { return text_; }
    void setText(std::string text);
    const UIFont& font() const { return font_; }
    void setFont(UIFont font);
    const UIColor& textColor() const { return color_; }
    void setTextColor(UIColor color) { assign(color_, color, UIViewChange::content); }
    NSTextAlignment textAlignment() const { return alignment_; }
    void setTextAlignment(NSTextAlignment alignment) {
        assign(alignment_, alignment, UIViewChange::content);
    }

    UIAccessibilityRole accessibilityRole() const override {
        return UIAccessibilityRole::staticText;
    }
    bool drawsContent() const override { return true; }
    void draw(Canvas& canvas) const override;
    std::optional<CGSize> intrinsicContentSize() const override;

private:
    std::string text_;
    UIFont font_;
    UIColor color_ = UIColor::black();
    NSTextAlignment alignment_ = NSTextAlignment::left;
};

}  // namespace korvel::platform
