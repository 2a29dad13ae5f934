#include <korvel/model/ServiceTimestamp.h>

namespace korvel {

std::string serviceTimestamp(platform::Date date, const platform::Locale& locale) {
    platform::DateFormatter formatter(locale);
    formatter.dateFormat = "yyyy-MM-dd'T'HH:mm:ss.SSSZ";
    return formatter.string(date);
}

}  // namespace korvel
