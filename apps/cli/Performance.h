#pragma once

#include "Table.h"

#include <korvel/platform/foundation/Data.h>
#include <korvel/platform/foundation/JSONRecord.h>

#include <cstdint>
#include <string>

namespace cli {

/// What the SDK recorded with the service about a class that was played, as the service spells it.
struct Performance {
    std::string performDate;
    std::string providerName;
    std::int64_t playedDurationSecond = 0;  ///< the class's length
    std::string contentID;
    std::int64_t actualDurationSecond = 0;  ///< played
    std::string contentName;
    std::string userId;
    std::string ID;

    using JSON =
        korvel::platform::Members<&Performance::performDate, &Performance::providerName,
                                  &Performance::playedDurationSecond, &Performance::contentID,
                                  &Performance::actualDurationSecond, &Performance::contentName,
                                  &Performance::userId, &Performance::ID>;
};

/// From the body of the request that recorded it. Throws `Failure` for another body.
Performance performanceIn(korvel::platform::Data body);

std::string asText(const Performance& performance, PageWidth page);

/// "1:02:03", or "2:03".
std::string clockTime(double seconds);

}  // namespace cli
