#pragma once

#include <korvel/platform/uikit/CGRect.h>
#include <korvel/platform/uikit/NSTextAlignment.h>
#include <korvel/platform/uikit/UIColor.h>
#include <korvel/platform/uikit/UIFont.h>
#include <korvel/platform/uikit/UIImage.h>

#include <optional>
#include <string>

namespace korvel::platform {

/// What a toolkit must be able to paint so that every view can draw itself. Coordinates are points
/// of the view's bounds; later calls lie over earlier ones.
class KORVEL_API Canvas {
public:
    virtual ~Canvas();

    virtual void fill(const CGRect& rect, double cornerRadius, const UIColor& color) = 0;
    /// Stretched to `rect`. With a tint, every pixel takes its colour and keeps its own opacity.
    virtual void image(const UIImage& image, const CGRect& rect, const std::optional<UIColor>& tint,
                       double opacity) = 0;
    /// One line in the vertical middle of `rect`, shortened with an ellipsis if it does not fit.
    virtual void text(const std::string& text, const UIFont& font, const UIColor& color,
                      const CGRect& rect, NSTextAlignment alignment) = 0;
    /// Along the ellipse within `rect`, clockwise from three o'clock, with round ends.
    virtual void arc(const CGRect& rect, double startDegrees, double sweepDegrees, double lineWidth,
                     const UIColor& color) = 0;
};

}  // namespace korvel::platform
