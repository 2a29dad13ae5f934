#pragma once

#include <korvel/platform/foundation/Locale.h>

#include <memory>

namespace korvel::platform {

/// The process's locale, read from its environment now and not again.
///
/// Formats and region follow LC_ALL, LC_TIME, LANG in this order and the languages LANGUAGE,
/// LC_ALL, LC_MESSAGES, LANG, as the C library has it; ICU's own default would take the region from
/// the language. "C", "POSIX" or nothing at all is a device without a region ("en_US_POSIX").
std::shared_ptr<Locale> makeLocaleICU();

}  // namespace korvel::platform
