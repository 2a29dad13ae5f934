#pragma once

namespace korvel::platform {

/// In points.
struct CGSize {
    double width = 0;
    double height = 0;

    bool operator==(const CGSize&) const = default;
};

}  // namespace korvel::platform
