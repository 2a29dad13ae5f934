#pragma once

#include <korvel/platform/foundation/Data.h>
#include <korvel/platform/foundation/Export.h>

#include <optional>
#include <string>
#include <string_view>

namespace korvel::platform {

/// Standard alphabet with padding, no line breaks.
KORVEL_API std::string base64Encoded(std::string_view bytes);
/// Strict: nothing for any character outside the alphabet (line breaks too), missing padding or
/// stray bits.
KORVEL_API std::optional<Data> base64Decoded(std::string_view text);

}  // namespace korvel::platform
