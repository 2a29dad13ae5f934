#pragma once

#include <korvel/platform/foundation/Export.h>

#include <optional>
#include <string_view>

namespace korvel::platform {

/// sRGB, every part 0 to 1, not premultiplied.
struct KORVEL_API UIColor {
    float red = 0;
    float green = 0;
    float blue = 0;
    float alpha = 1;

    static constexpr UIColor black() { return {}; }
    static constexpr UIColor white() { return {1, 1, 1, 1}; }
    static constexpr UIColor clear() { return {0, 0, 0, 0}; }
    static constexpr UIColor systemBlue() { return {0, 0.478F, 1, 1}; }
    /// "#RRGGBB" or "#RRGGBBAA"; nothing if it is neither.
    static std::optional<UIColor> parse(std::string_view hexadecimal);

    constexpr UIColor withAlphaComponent(float newAlpha) const {
        return {red, green, blue, newAlpha};
    }

    bool operator==(const UIColor&) const = default;
};

}  // namespace korvel::platform
