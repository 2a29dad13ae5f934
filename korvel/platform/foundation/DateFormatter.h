#pragma once

#include <korvel/platform/foundation/Export.h>
#include <korvel/platform/foundation/Locale.h>

#include <chrono>
#include <string>

namespace korvel::platform {

using Date = std::chrono::system_clock::time_point;

/// Writes dates after a Unicode (TR 35) pattern in the locale's calendar, digits and time zone.
/// A value; any thread.
class KORVEL_API DateFormatter {
public:
    explicit DateFormatter(const Locale& locale);

    std::string dateFormat;  ///< empty until set, and then every date is written as ""

    /// Parts below the pattern's smallest field are cut off, not rounded.
    std::string string(Date date) const;

private:
    std::string localeIdentifier_;
    std::string timeZone_;
};

}  // namespace korvel::platform
