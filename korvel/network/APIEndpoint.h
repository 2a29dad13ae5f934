#pragma once

#include <korvel/platform/foundation/Data.h>
#include <korvel/platform/foundation/URL.h>

#include <map>
#include <optional>
#include <string>

namespace korvel {

/// One request to the content service, described but not yet sent.
struct APIEndpoint {
    platform::URL baseURL;
    std::string path;  ///< relative to `baseURL`, its query appended; never percent-encoded here
    std::optional<platform::Data> params;  ///< JSON body
    std::string method;
    std::optional<std::string> token;  ///< whole value of "Authorization"
    std::optional<std::string> tenantId;
    std::optional<std::string> modId;
    std::optional<platform::Data> formParams;                   ///< multipart body of the log-in
    std::optional<std::map<std::string, std::string>> headers;  ///< further headers
};

}  // namespace korvel
