#pragma once

namespace korvel::platform {

enum class NSTextAlignment { left, center, right };

}  // namespace korvel::platform
