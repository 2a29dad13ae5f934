#pragma once

#include <korvel/platform/foundation/Export.h>

#include <string_view>

namespace korvel::platform {

/// Writes `message` to standard error and aborts. For programming errors that the contract calls
/// fatal.
[[noreturn]] KORVEL_API void fatalError(std::string_view message);

}  // namespace korvel::platform
