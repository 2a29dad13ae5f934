#pragma once

#include <korvel/platform/foundation/DateFormatter.h>
#include <korvel/platform/foundation/JSONRecord.h>
#include <korvel/platform/foundation/Object.h>

#include <string>

namespace korvel {

/// Tells the service that the user's subscription starts.
class KORVEL_API KCSDKUserSubscriptionRequest : public platform::Object {
public:
    /// `start` becomes `startDate` as a service timestamp in the device's time zone, calendar and
    /// digits.
    KCSDKUserSubscriptionRequest(platform::Date startDate, std::string subscriptionId);
    explicit KCSDKUserSubscriptionRequest(platform::DecodingKey) {}

    std::string start;
    std::string subscriptionId;  ///< the host's own identifier of the subscription

private:
    friend platform::JSONCoding;
    using C = KCSDKUserSubscriptionRequest;
    using JSON = platform::Members<&C::start, &C::subscriptionId>;
};

}  // namespace korvel
