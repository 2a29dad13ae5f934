#pragma once

#include <korvel/platform/uikit/CGPoint.h>
#include <korvel/platform/uikit/CGSize.h>

namespace korvel::platform {

/// In points of the coordinate system that its owner names.
struct CGRect {
    CGPoint origin;
    CGSize size;

    constexpr CGRect() = default;
    constexpr CGRect(CGPoint theOrigin, CGSize theSize) : origin(theOrigin), size(theSize) {}
    constexpr CGRect(double x, double y, double width, double height)
        : origin{x, y}, size{width, height} {}

    double minX() const { return origin.x; }
    double midX() const { return origin.x + size.width / 2; }
    double maxX() const { return origin.x + size.width; }
    double minY() const { return origin.y; }
    double midY() const { return origin.y + size.height / 2; }
    double maxY() const { return origin.y + size.height; }
    CGPoint center() const { return {midX(), midY()}; }

    /// The left and upper edges belong to it, the others do not.
    bool contains(CGPoint point) const {
        return point.x >= minX() && point.x < maxX() && point.y >= minY() && point.y < maxY();
    }
    /// Smaller by the distances at every side; larger if they are negative.
    CGRect insetBy(double dx, double dy) const {
        return {origin.x + dx, origin.y + dy, size.width - 2 * dx, size.height - 2 * dy};
    }

    bool operator==(const CGRect&) const = default;
};

}  // namespace korvel::platform
