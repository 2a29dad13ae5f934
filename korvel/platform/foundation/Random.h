#pragma once

#include <korvel/platform/foundation/Export.h>

#include <cstdint>

namespace korvel::platform {

/// From the system's cryptographic source. Any thread.
KORVEL_API std::uint32_t randomUInt32();

}  // namespace korvel::platform
