#pragma once

namespace korvel::platform {

/// A place in points; y grows downwards.
struct CGPoint {
    double x = 0;
    double y = 0;

    bool operator==(const CGPoint&) const = default;
};

}  // namespace korvel::platform
