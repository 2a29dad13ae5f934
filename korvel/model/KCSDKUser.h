#pragma once

#include <korvel/platform/foundation/JSONRecord.h>
#include <korvel/platform/foundation/Object.h>

#include <string>

namespace korvel {

/// The service's answer to a log-in.
class KORVEL_API KCSDKUser : public platform::Object {
public:
    KCSDKUser() = default;

    std::string username;
    std::string userId;
    std::string code;  ///< bearer credential of the session
    double tokenExpiration =
        0;  ///< never sent by the service; kept because the session store writes it

private:
    friend platform::JSONCoding;
    using C = KCSDKUser;
    using JSON =
        platform::Members<platform::named<"Username", &C::username>,
                          platform::named<"UserId", &C::userId>, platform::named<"Code", &C::code>>;
};

}  // namespace korvel
