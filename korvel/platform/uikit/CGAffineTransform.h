#pragma once

#include <korvel/platform/foundation/Export.h>
#include <korvel/platform/uikit/CGRect.h>

namespace korvel::platform {

/// x' = a x + c y + tx, y' = b x + d y + ty.
struct KORVEL_API CGAffineTransform {
    double a = 1;
    double b = 0;
    double c = 0;
    double d = 1;
    double tx = 0;
    double ty = 0;

    /// This one after a rotation; clockwise on the screen. By 0 it is exactly this one.
    CGAffineTransform rotated(double radians) const;
    CGAffineTransform scaledBy(double x, double y) const;
    bool isIdentity() const { return *this == CGAffineTransform(); }

    CGPoint apply(CGPoint point) const;
    /// The smallest upright rectangle around the transformed one.
    CGRect apply(const CGRect& rect) const;
    /// Of no effect if it maps everything onto a line: the identity then.
    CGAffineTransform inverted() const;

    bool operator==(const CGAffineTransform&) const = default;
};

}  // namespace korvel::platform
