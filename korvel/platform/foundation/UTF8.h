#pragma once

#include <korvel/platform/foundation/Export.h>

#include <string>
#include <string_view>

namespace korvel::platform {

/// Whether `text` is well-formed UTF-8 (no surrogates, no overlong forms, nothing above U+10FFFF).
KORVEL_API bool isValidUTF8(std::string_view text);

/// `text` with every ill-formed sequence replaced by U+FFFD; well-formed text comes back untouched.
/// Host texts pass through here on entry, so that nothing behind the boundary can fail to encode.
KORVEL_API std::string repairedUTF8(std::string text);

/// `text` in ASCII: accents are taken off ("Á" is "A"), and each character that has no such form is
/// "?".
KORVEL_API std::string lossyASCII(std::string_view text);

}  // namespace korvel::platform
