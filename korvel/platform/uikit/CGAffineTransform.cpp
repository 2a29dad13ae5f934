#include <korvel/platform/uikit/CGAffineTransform.h>

#include <algorithm>
#include <cmath>

namespace korvel::platform {

CGAffineTransform CGAffineTransform::rotated(double radians) const {
    const double cosine = std::cos(radians);
    const double sine = std::sin(radians);
    return {a * cosine + c * sine,
            b * cosine + d * sine,
            c * cosine - a * sine,
            d * cosine - b * sine,
            tx,
            ty};
}

CGAffineTransform CGAffineTransform::scaledBy(double x, double y) const {
    return {a * x, b * x, c * y, d * y, tx, ty};
}

CGPoint CGAffineTransform::apply(CGPoint point) const {
    return {a * point.x + c * point.y + tx, b * point.x + d * point.y + ty};
}

CGRect CGAffineTransform::apply(const CGRect& rect) const {
    const CGPoint corners[] = {
        apply(CGPoint{rect.minX(), rect.minY()}), apply(CGPoint{rect.maxX(), rect.minY()}),
        apply(CGPoint{rect.minX(), rect.maxY()}), apply(CGPoint{rect.maxX(), rect.maxY()})};
    const auto [left, right] =
        std::minmax({corners[0].x, corners[1].x, corners[2].x, corners[3].x});
    const auto [top, bottom] =
        std::minmax({corners[0].y, corners[1].y, corners[2].y, corners[3].y});
    return {left, top, right - left, bottom - top};
}

CGAffineTransform CGAffineTransform::inverted() const {
    const double determinant = a * d - b * c;
    if (determinant == 0 || !std::isfinite(determinant)) return {};
    return {d / determinant,
            -b / determinant,
            -c / determinant,
            a / determinant,
            (c * ty - d * tx) / determinant,
            (b * tx - a * ty) / determinant};
}

}  // namespace korvel::platform
