#pragma once

#include <korvel/platform/foundation/Export.h>
#include <korvel/platform/foundation/Object.h>

#include <string>

namespace korvel {

/// Where the service is and who asks. The SDK keeps the host's own object, so a later change of a
/// field counts from the next call on; do not change fields while another thread calls the SDK.
/// Texts are UTF-8; what is not is repaired with U+FFFD.
class KORVEL_API KCSDKConfig : public platform::Object {
public:
    /// What a host gives, by name: `KCSDKConfig({.baseURL = "https://...", .apiKey = "..."})`.
    struct Values {
        std::string baseURL = {};
        std::string secretKey = {};
        std::string apiKey = {};
        std::string tenantId = {};
        std::string localyticsKey = {};
    };

    /// `baseURL` is absolute and usually ends in "/": addresses are resolved against it as against
    /// a page's address, so a last path segment without a slash behind it is replaced.
    KCSDKConfig(std::string baseURL, std::string secretKey, std::string apiKey,
                std::string tenantId, std::string localyticsKey);
    explicit KCSDKConfig(Values values);

    std::string baseURL;
    std::string secretKey;
    std::string apiKey;
    std::string tenantID;
    std::string localyticsKey;
    /// Empty until `KCSDK::initialize` writes the device's two-letter region here, if it has one.
    std::string countryCode;
};

}  // namespace korvel
