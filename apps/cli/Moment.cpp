#include "Moment.h"

#include <cstddef>
#include <ctime>
#include <string_view>

namespace cli {

namespace {

/// Nothing unless the whole text fits the format.
std::optional<std::tm> parsed(const std::string& text, const char* format) {
    std::tm time{};
    time.tm_isdst = -1;
    const char* end = strptime(text.c_str(), format, &time);
    return end && *end == '\0' ? std::optional(time) : std::nullopt;
}

/// The system's own arithmetic turns the 31st of April into the 1st of May.
std::optional<std::time_t> seconds(std::tm time, bool local) {
    const auto day = time.tm_mday;
    const auto offset = time.tm_gmtoff;
    const auto result = local ? std::mktime(&time) : timegm(&time) - offset;
    return time.tm_mday == day ? std::optional(result) : std::nullopt;
}

}  // namespace

std::optional<std::chrono::system_clock::time_point> moment(const std::string& text) {
    using std::chrono::system_clock;
    constexpr std::size_t endOfYear = 4;
    if (text.find('-') != endOfYear) return std::nullopt;  // the system takes "24" for the year 24
    std::optional<std::time_t> result;
    if (const auto day = parsed(text, "%Y-%m-%d")) {
        result = seconds(*day, true);
    } else if (const auto time = parsed(text, "%Y-%m-%dT%H:%M:%S")) {
        result = seconds(*time, true);
    } else if (const auto zoned = parsed(text, "%Y-%m-%dT%H:%M:%S%z")) {
        result = seconds(*zoned, false);
    }
    if (!result || *result > system_clock::to_time_t(system_clock::time_point::max()) ||
        *result < system_clock::to_time_t(system_clock::time_point::min())) {
        return std::nullopt;
    }
    return system_clock::from_time_t(*result);
}

std::string dateAndTime(const std::string& timestamp) {
    constexpr std::string_view digits = "0123456789";
    auto whole = timestamp;
    const auto point = whole.find('.');
    if (point != std::string::npos) {
        whole.erase(point, whole.find_first_not_of(digits, point + 1) - point);
    }
    const auto found = moment(whole);
    if (!found) return timestamp;
    const auto time = std::chrono::system_clock::to_time_t(*found);
    std::tm local{};
    char text[64];
    localtime_r(&time, &local);
    std::strftime(text, sizeof text, " %b %Y, %H:%M", &local);
    return std::to_string(local.tm_mday) + text;
}

}  // namespace cli
