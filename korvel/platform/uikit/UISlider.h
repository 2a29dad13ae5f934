#pragma once

#include <korvel/platform/uikit/UIControl.h>
#include <korvel/platform/uikit/UIImage.h>

namespace korvel::platform {

/// A value to drag. A touch on the knob holds it where it was taken, one beside it brings it there
/// at once; a drag counts as inside wherever it ends, since the knob follows it.
class KORVEL_API UISlider : public UIControl {
public:
    explicit UISlider(const CGRect& frame = {});
    ~UISlider() override;

    float value() const { return value_; }
    /// Brought into the limits; no event. Not-a-number is ignored. The knob does not run: an
    /// animated change is shown at once, too.
    void setValue(float value, bool animated = false);
    float minimumValue() const { return minimum_; }
    void setMinimumValue(float minimum);  ///< pushes the maximum up before it
    float maximumValue() const { return maximum_; }
    void setMaximumValue(float maximum);  ///< pushes the minimum down before it
    bool isContinuous() const { return continuous_; }
    /// Whether `valueChanged` comes during a drag, or once at its end.
    void setContinuous(bool continuous) { continuous_ = continuous; }

    const std::optional<UIColor>& minimumTrackTintColor() const { return minimumTrack_; }
    const std::optional<UIColor>& maximumTrackTintColor() const { return maximumTrack_; }
    const std::optional<UIColor>& thumbTintColor() const { return thumbTint_; }
    void setMinimumTrackTintColor(std::optional<UIColor> color);
    void setMaximumTrackTintColor(std::optional<UIColor> color);
    void setThumbTintColor(std::optional<UIColor> color);
    const std::optional<UIImage>& thumbImage() const { return thumbImage_; }
    /// Every state shows that of `normal`; other states are ignored.
    void setThumbImage(std::optional<UIImage> image, UIControlState state);
    CGRect thumbRect() const;  ///< in its bounds

    UIAccessibilityRole accessibilityRole() const override { return UIAccessibilityRole::slider; }
    bool drawsContent() const override { return true; }
    void draw(Canvas& canvas) const override;
    void tintColorDidChange() override { setNeedsDisplay(); }
    std::optional<CGSize> intrinsicContentSize() const override;

protected:
    CGRect touchBounds() const override;  ///< at both ends as far as the knob can be taken
    void beginTracking(CGPoint point) override;
    void continueTracking(CGPoint point) override;
    void endTracking() override;
    bool keepsTouch(CGPoint) const override { return true; }
    bool looksHighlighted() const override { return false; }

private:
    CGSize thumbSize() const;
    double grabDistance() const;
    double fraction() const;
    void moved();
    void drag(double thumbLeft);

    float value_ = 0;
    float minimum_ = 0;
    float maximum_ = 1;
    bool continuous_ = true;
    bool dragged_ = false;  ///< the value changed since the touch began
    double grip_ = 0;       ///< from the knob's left edge to the touch
    double shownLeft_ = 0;  ///< where the knob was when the change was last told
    std::optional<UIColor> minimumTrack_;
    std::optional<UIColor> maximumTrack_;
    std::optional<UIColor> thumbTint_;
    std::optional<UIImage> thumbImage_;
};

}  // namespace korvel::platform
