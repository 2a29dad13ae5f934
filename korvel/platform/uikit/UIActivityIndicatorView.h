#pragma once

#include <korvel/platform/uikit/UIView.h>

namespace korvel::platform {

/// Three quarters of a ring that turn while something takes its time.
class KORVEL_API UIActivityIndicatorView : public UIView {
public:
    explicit UIActivityIndicatorView(const CGRect& frame = {});
    ~UIActivityIndicatorView() override;

    bool isAnimating() const { return animating_; }
    void startAnimating() { assign(animating_, true, UIViewChange::content); }
    void stopAnimating() { assign(animating_, false, UIViewChange::content); }
    const UIColor& color() const { return color_; }
    void setColor(UIColor color) { assign(color_, color, UIViewChange::content); }

    UIAccessibilityRole accessibilityRole() const override { return UIAccessibilityRole::progress; }
    bool drawsContent() const override { return true; }
    void draw(Canvas& canvas) const override;
    double secondsPerTurn() const override { return animating_ ? 1 : 0; }
    std::optional<CGSize> intrinsicContentSize() const override { return CGSize{40, 40}; }

private:
    bool animating_ = false;
    UIColor color_ = UIColor::white();
};

}  // namespace korvel::platform
