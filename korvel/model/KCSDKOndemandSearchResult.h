#pragma once

#include <korvel/model/KCSDKSearchItem.h>

namespace korvel {

/// One page of the classes that match a filter.
class KORVEL_API KCSDKOndemandSearchResult : public platform::Object {
public:
    explicit KCSDKOndemandSearchResult(platform::DecodingKey) {}

    std::int64_t total = 0;                               ///< matches on all pages
    std::int64_t itemsRemaining = 0;                      ///< matches after this page
    std::vector<std::shared_ptr<KCSDKSearchItem>> items;  ///< in the service's order

private:
    friend platform::JSONCoding;
    using C = KCSDKOndemandSearchResult;
    using JSON = platform::Members<&C::total, &C::itemsRemaining, &C::items>;
};

}  // namespace korvel
