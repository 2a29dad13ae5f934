#pragma once

#include <korvel/platform/foundation/JSONRecord.h>

#include <cstdint>
#include <string>

namespace korvel {

/// Tells the service what the user decided about a consent document. A value.
struct KCSDKConsentRequest {
    std::string consentTag;
    std::int64_t action = 2;  ///< 2: accepted, the only decision that is ever sent
    std::string userId;       ///< empty without a session

    using C = KCSDKConsentRequest;
    using JSON = platform::Members<&C::consentTag, &C::action, &C::userId>;
};

}  // namespace korvel
