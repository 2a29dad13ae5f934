#pragma once

namespace korvel::platform {

enum class UIControlState { normal, highlighted, disabled };

}  // namespace korvel::platform
