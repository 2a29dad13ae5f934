#pragma once

#include <string>

namespace korvel::platform {

/// A wish: the toolkit takes what comes nearest.
struct UIFont {
    /// As the field's style sheets count them.
    enum class Weight { light = 300, regular = 400, medium = 500, semibold = 600, bold = 700 };

    std::string name;  ///< family; empty: the system's
    double pointSize = 17;
    Weight weight = Weight::regular;

    static UIFont systemFont(double pointSize, Weight weight = Weight::regular) {
        return {{}, pointSize, weight};
    }
    static UIFont boldSystemFont(double pointSize) { return systemFont(pointSize, Weight::bold); }

    bool operator==(const UIFont&) const = default;
};

}  // namespace korvel::platform
