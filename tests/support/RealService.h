#pragma once

#include <korvel/platform/backends/curl/URLSessionCurl.h>
#include <korvel/platform/foundation/DispatchQueue.h>
#include <korvel/session/KCSDKConfig.h>
#include <service/ContentService.h>

namespace korvel::tests {

/// A session as the standard device has it.
inline std::shared_ptr<platform::URLSession> makeSession(
    const platform::URLSessionCurlOptions& options) {
    return platform::makeURLSessionCurl(
        options, [](auto task) { platform::DispatchQueue::global().async(std::move(task)); });
}

/// What a client has to know of a service with those options.
inline std::shared_ptr<KCSDKConfig> makeConfig(const service::ContentService::Options& options,
                                               std::string baseURL) {
    return std::make_shared<KCSDKConfig>(std::move(baseURL), options.secretKey, options.apiKey,
                                         options.tenant, "analytics");
}

}  // namespace korvel::tests
