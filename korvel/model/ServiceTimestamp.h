#pragma once

#include <korvel/platform/foundation/DateFormatter.h>

#include <string>

namespace korvel {

/// `date` as the service takes it: "2024-03-31T01:00:00.000+0100" in the locale's time zone, and in
/// its calendar and digits too; the service has always seen them so.
std::string serviceTimestamp(platform::Date date, const platform::Locale& locale);

}  // namespace korvel
