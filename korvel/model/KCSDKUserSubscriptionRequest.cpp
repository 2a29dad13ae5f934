#include <korvel/model/KCSDKUserSubscriptionRequest.h>

#include <korvel/model/ServiceTimestamp.h>
#include <korvel/platform/Device.h>

namespace korvel {

KCSDKUserSubscriptionRequest::KCSDKUserSubscriptionRequest(platform::Date startDate,
                                                           std::string identifier)
    : start(serviceTimestamp(startDate, *platform::Device::current().locale)),
      subscriptionId(std::move(identifier)) {}

}  // namespace korvel
