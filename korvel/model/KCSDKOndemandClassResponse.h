#pragma once

#include <korvel/model/KCSDKOndemandClass.h>

#include <memory>

namespace korvel {

/// One page of the class listing.
class KORVEL_API KCSDKOndemandClassResponse : public platform::Object {
public:
    explicit KCSDKOndemandClassResponse(platform::DecodingKey) {}

    std::int64_t totalItems = 0;      ///< classes on all pages
    std::int64_t itemsRemaining = 0;  ///< classes on the pages after this one
    std::vector<std::shared_ptr<KCSDKOndemandClass>> items;  ///< in the service's order

private:
    friend platform::JSONCoding;
    using C = KCSDKOndemandClassResponse;
    using JSON = platform::Members<&C::totalItems, &C::itemsRemaining, &C::items>;
};

}  // namespace korvel
