#pragma once

#include <korvel/platform/foundation/JSONRecord.h>

#include <string>

namespace korvel {

/// What a log-in asks for. A value; it travels as a form, not as JSON.
struct KCSDKLoginRequest {
    std::string username;
    std::string password;
    std::string firstname;
    std::string lastname;
    bool skipconsent = false;
    std::string responsetype;
    std::string redirecturi;
    std::string scope;
    std::string tenantId;
    std::string clientid;
    std::string countrycode;

    using C = KCSDKLoginRequest;
    using JSON =
        platform::Members<&C::username, &C::password, &C::firstname, &C::lastname, &C::skipconsent,
                          platform::named<"response_type", &C::responsetype>,
                          platform::named<"redirect_uri", &C::redirecturi>, &C::scope, &C::tenantId,
                          platform::named<"client_id", &C::clientid>, &C::countrycode>;
};

}  // namespace korvel
