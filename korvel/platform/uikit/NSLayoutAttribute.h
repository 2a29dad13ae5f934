#pragma once

namespace korvel::platform {

enum class NSLayoutAttribute {
    leading,  ///< left: the layout is not mirrored for other writing directions
    trailing,
    top,
    bottom,
    width,
    height,
    centerX,
    centerY,
};

}  // namespace korvel::platform
