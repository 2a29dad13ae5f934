#include <korvel/platform/foundation/DateFormatter.h>

#include <unicode/smpdtfmt.h>
#include <unicode/timezone.h>
#include <memory>

namespace korvel::platform {

DateFormatter::DateFormatter(const Locale& locale)
    : localeIdentifier_(locale.identifier()), timeZone_(locale.timeZone()) {}

std::string DateFormatter::string(Date date) const {
    // The locale's own calendar and digits come with it. Made anew each time: an ICU formatter is
    // no value and not for several threads at once, and dates are written once per request at most.
    UErrorCode status = U_ZERO_ERROR;
    icu::SimpleDateFormat format(icu::UnicodeString::fromUTF8(dateFormat),
                                 icu::Locale(localeIdentifier_.c_str()), status);
    if (U_FAILURE(status)) return {};
    format.adoptTimeZone(icu::TimeZone::createTimeZone(icu::UnicodeString::fromUTF8(timeZone_)));

    const auto milliseconds = std::chrono::floor<std::chrono::milliseconds>(date);
    icu::UnicodeString text;
    format.format(static_cast<UDate>(milliseconds.time_since_epoch().count()), text);
    std::string result;
    return text.toUTF8String(result);
}

}  // namespace korvel::platform
