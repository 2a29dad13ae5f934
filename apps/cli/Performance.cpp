#include "Performance.h"

#include "Failure.h"
#include "Fields.h"

#include <korvel/platform/foundation/JSONDecoder.h>

#include <cmath>
#include <cstdio>
#include <utility>

namespace cli {

Performance performanceIn(korvel::platform::Data body) {
    auto performance = korvel::platform::decodeJSON<Performance>(std::move(body));
    if (!performance) throw Failure(ExitCode::failed, "the SDK recorded something unknown");
    return std::move(*performance);
}

std::string asText(const Performance& performance, PageWidth page) {
    Fields fields;
    fields.add("Recorded", performance.performDate);
    fields.add("Class", performance.contentID + "  " + performance.contentName);
    fields.add("Provider", performance.providerName);
    fields.add("Performed", std::to_string(performance.actualDurationSecond) + " s");
    fields.add("Length", std::to_string(performance.playedDurationSecond) + " s");
    fields.add("User", performance.userId);
    fields.add("Record", performance.ID);
    return fields.text(page);
}

std::string clockTime(double seconds) {
    constexpr long minute = 60;
    constexpr long hour = 60 * minute;
    const long whole = std::lround(std::floor(seconds));
    char text[48];
    if (whole >= hour) {
        std::snprintf(text, sizeof text, "%ld:%02ld:%02ld", whole / hour, whole % hour / minute,
                      whole % minute);
    } else {
        std::snprintf(text, sizeof text, "%ld:%02ld", whole / minute, whole % minute);
    }
    return text;
}

}  // namespace cli
