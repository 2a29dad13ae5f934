#include <korvel/platform/foundation/DateFormatter.h>

#include <unicode/simpletz.h>
#include <unicode/smpdtfmt.h>
#include <unicode/timezone.h>
#include <ctime>
#include <memory>

namespace korvel::platform {

namespace {

/// The C library's zone as it is at that moment. ICU would have to guess a name for what "TZ"
/// holds, and names neither rules ("CET-1CEST") nor files.
std::unique_ptr<icu::TimeZone> zoneAt(Date date) {
    const std::time_t seconds = std::chrono::system_clock::to_time_t(date);
    std::tm local{};
    const bool known = localtime_r(&seconds, &local) != nullptr;
    const auto offset = static_cast<std::int32_t>(known ? local.tm_gmtoff * 1000 : 0);
    return std::make_unique<icu::SimpleTimeZone>(offset, icu::UnicodeString("device"));
}

std::unique_ptr<icu::TimeZone> zoneNamed(const std::string& name) {
    return std::unique_ptr<icu::TimeZone>(
        icu::TimeZone::createTimeZone(icu::UnicodeString::fromUTF8(name)));
}

}  // namespace

DateFormatter::DateFormatter(const Locale& locale)
    : localeIdentifier_(locale.identifier()), timeZone_(locale.timeZone()) {}

std::string DateFormatter::string(Date date) const {
    // The locale's own calendar and digits come with it. Made anew each time: an ICU formatter is
    // no value and not for several threads at once, and dates are written once per request at most.
    UErrorCode status = U_ZERO_ERROR;
    icu::SimpleDateFormat format(icu::UnicodeString::fromUTF8(dateFormat),
                                 icu::Locale(localeIdentifier_.c_str()), status);
    if (U_FAILURE(status)) return {};
    format.adoptTimeZone((timeZone_.empty() ? zoneAt(date) : zoneNamed(timeZone_)).release());

    const auto milliseconds = std::chrono::floor<std::chrono::milliseconds>(date);
    icu::UnicodeString text;
    format.format(static_cast<UDate>(milliseconds.time_since_epoch().count()), text);
    std::string result;
    return text.toUTF8String(result);
}

}  // namespace korvel::platform
