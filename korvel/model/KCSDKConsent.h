#pragma once

#include <korvel/model/LinkDetail.h>

#include <cstdint>
#include <memory>
#include <vector>

namespace korvel {

/// A document (privacy policy, terms) that the user must accept before classes can be performed.
/// Hand its `consentTag` back to accept it.
class KORVEL_API KCSDKConsent : public platform::Object {
public:
    explicit KCSDKConsent(platform::DecodingKey) {}

    std::string policy;
    std::string consentTag;
    bool actionable = false;  ///< whether the user can act on it
    std::vector<std::shared_ptr<LinkDetail>> urls;
    std::string policyHtml;  ///< `policy` as HTML
    std::string title;
    std::int64_t version = 0;
    std::string publishedDate;  ///< timestamp as the service's text
    bool isMandatory = false;

private:
    friend platform::JSONCoding;
    using C = KCSDKConsent;
    using JSON =
        platform::Members<&C::policy, &C::consentTag, &C::actionable, &C::urls, &C::policyHtml,
                          &C::title, &C::version, &C::publishedDate, &C::isMandatory>;
};

}  // namespace korvel
