#pragma once

namespace korvel::platform {

/// What a screen reader says a view is.
enum class UIAccessibilityRole {
    none,  ///< of no interest by itself
    button,
    slider,
    staticText,
    progress,  ///< work of unknown length
};

}  // namespace korvel::platform
