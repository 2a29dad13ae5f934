#pragma once

#include <korvel/platform/foundation/JSONRecord.h>
#include <korvel/platform/foundation/Object.h>

#include <string>

namespace korvel {

/// A content key as a record. Part of the public set, but the key server answers in plain text.
class KORVEL_API KCSDKOndemandCkcToken : public platform::Object {
public:
    explicit KCSDKOndemandCkcToken(platform::DecodingKey) {}

    std::string key;

private:
    friend platform::JSONCoding;
    using JSON = platform::Members<&KCSDKOndemandCkcToken::key>;
};

}  // namespace korvel
