#pragma once

#include <korvel/platform/foundation/JSONRecord.h>
#include <korvel/platform/foundation/Object.h>

#include <string>

namespace korvel {

/// A link shown with a consent document.
class KORVEL_API LinkDetail : public platform::Object {
public:
    explicit LinkDetail(platform::DecodingKey) {}

    std::string linkText;
    std::string linkUrl;  ///< as the service sends it, not checked

private:
    friend platform::JSONCoding;
    using JSON = platform::Members<&LinkDetail::linkText, &LinkDetail::linkUrl>;
};

}  // namespace korvel
