#pragma once

namespace korvel::platform {

/// A set of these is made with `|`.
enum class UIControlEvents : unsigned {
    touchDown = 1U << 0,
    touchUpInside = 1U << 6,
    touchUpOutside = 1U << 7,
    touchCancel = 1U << 8,
    valueChanged = 1U << 12,
};

constexpr UIControlEvents operator|(UIControlEvents one, UIControlEvents other) {
    return static_cast<UIControlEvents>(static_cast<unsigned>(one) | static_cast<unsigned>(other));
}
constexpr bool intersect(UIControlEvents one, UIControlEvents other) {
    return (static_cast<unsigned>(one) & static_cast<unsigned>(other)) != 0;
}

}  // namespace korvel::platform
