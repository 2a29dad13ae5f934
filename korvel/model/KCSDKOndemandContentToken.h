#pragma once

#include <korvel/platform/foundation/JSONRecord.h>
#include <korvel/platform/foundation/Object.h>

#include <string>

namespace korvel {

/// Short-lived credential that the key server wants to see. Fetched anew for every key.
class KORVEL_API KCSDKOndemandContentToken : public platform::Object {
public:
    explicit KCSDKOndemandContentToken(platform::DecodingKey) {}

    std::string token;

private:
    friend platform::JSONCoding;
    using JSON = platform::Members<&KCSDKOndemandContentToken::token>;
};

}  // namespace korvel
