#pragma once

#include <korvel/platform/foundation/JSONRecord.h>

#include <cstdint>
#include <string>

namespace korvel {

/// Tells the service that a class was performed. A value; the service's uneven spelling of the keys
/// stands.
struct KCSDKOndemandResultRequest {
    std::string performDate;                ///< service timestamp of the moment of sending
    std::string providerName;               ///< empty if the class names none
    std::int64_t playedDurationSecond = 0;  ///< the class's full length, whatever the name says
    std::int64_t requestsource = 5;         ///< 5: this kind of client
    std::string contentID;                  ///< the class's tag
    std::int64_t actualDurationSecond = 0;  ///< what the user played
    std::string contentName;                ///< the class's title
    std::string userId;                     ///< empty without a session
    std::string subscriptiontag;            ///< always empty
    std::string ID;                         ///< unique to this performance

    using C = KCSDKOndemandResultRequest;
    using JSON = platform::Members<&C::performDate, &C::providerName, &C::playedDurationSecond,
                                   &C::requestsource, &C::contentID, &C::actualDurationSecond,
                                   &C::contentName, &C::userId, &C::subscriptiontag, &C::ID>;
};

}  // namespace korvel
