#pragma once

#include <korvel/platform/uikit/UIControl.h>
#include <korvel/platform/uikit/UIImage.h>

#include <array>

namespace korvel::platform {

/// A picture to press. Pictures keep their proportions within the bounds; a state without one of
/// its own shows that of `normal`, fainter.
class KORVEL_API UIButton : public UIControl {
public:
    explicit UIButton(const CGRect& frame = {});
    ~UIButton() override;

    /// Nothing takes it away.
    void setBackgroundImage(std::optional<UIImage> image, UIControlState state);
    std::optional<UIImage> backgroundImage(UIControlState state) const;  ///< of that state alone
    /// Over the background, in its own size if there is room.
    void setImage(std::optional<UIImage> image, UIControlState state);
    std::optional<UIImage> image(UIControlState state) const;

    UIAccessibilityRole accessibilityRole() const override { return UIAccessibilityRole::button; }
    bool drawsContent() const override { return true; }
    void draw(Canvas& canvas) const override;
    void tintColorDidChange() override { setNeedsDisplay(); }
    std::optional<CGSize> intrinsicContentSize() const override;

private:
    using Images = std::array<std::optional<UIImage>, 3>;  ///< by state

    void set(Images& images, std::optional<UIImage> image, UIControlState state);
    void paint(Canvas& canvas, const Images& images, bool enlarge) const;

    Images backgrounds_;
    Images images_;
};

}  // namespace korvel::platform
