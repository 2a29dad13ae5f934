#pragma once

#include <korvel/platform/uikit/Canvas.h>

#include <QtGui/QColor>
#include <QtGui/QImage>
#include <QtGui/QPainter>

namespace korvel::platform::qtquick {

QColor colorOf(const UIColor& color);
QRectF rectOf(const CGRect& rect);

/// Finds out where a view would draw, so that the picture of it need not be larger.
class BoundsCanvas final : public Canvas {
public:
    QRectF bounds;

    void fill(const CGRect& rect, double cornerRadius, const UIColor& color) override;
    void image(const UIImage& image, const CGRect& rect, const std::optional<UIColor>& tint,
               double opacity) override;
    void text(const std::string& text, const UIFont& font, const UIColor& color, const CGRect& rect,
              NSTextAlignment alignment) override;
    void arc(const CGRect& rect, double startDegrees, double sweepDegrees, double lineWidth,
             const UIColor& color) override;
};

/// Draws a view into a picture. Decoded images are kept for the next time, on each thread for
/// itself.
class PainterCanvas final : public Canvas {
public:
    /// `picture` has the device pixel ratio set and shows what lies right and below of `origin`;
    /// borrowed.
    explicit PainterCanvas(QImage& picture, QPointF origin = {});

    void fill(const CGRect& rect, double cornerRadius, const UIColor& color) override;
    void image(const UIImage& image, const CGRect& rect, const std::optional<UIColor>& tint,
               double opacity) override;
    void text(const std::string& text, const UIFont& font, const UIColor& color, const CGRect& rect,
              NSTextAlignment alignment) override;
    void arc(const CGRect& rect, double startDegrees, double sweepDegrees, double lineWidth,
             const UIColor& color) override;

private:
    QPainter painter_;
    double scale_;  ///< pixels per point
};

}  // namespace korvel::platform::qtquick
