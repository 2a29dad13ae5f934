#pragma once

#include <korvel/network/APIEndpoint.h>
#include <korvel/session/KCSDKKeyChain.h>

#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <string>

namespace korvel {

class KCSDKConfig;

/// Every request that the service knows, one operation each: the only place where paths, methods,
/// queries, credentials and fixed header values are written down. Bodies are filled in by the
/// caller.
///
/// Arguments go into the path as they are: the service defines its own tags, and what it hands out
/// needs no encoding. All operations: any thread; nothing if the base URL is no absolute address.
/// Credentials are read anew for each request.
class EndpointCatalogue {
public:
    using Result = std::optional<APIEndpoint>;

    explicit EndpointCatalogue(KCSDKKeyChain keychain);

    std::shared_ptr<KCSDKConfig> sdkConfig() const;
    void setSdkConfig(std::shared_ptr<KCSDKConfig> config);
    /// The logged-in user's identifier; "" if there is none or it is not UTF-8.
    std::string userId() const;

    Result login() const;
    Result consentList() const;
    Result consentAccept() const;
    Result collections(const std::optional<std::string>& collectionId,
                       std::int64_t maxResults) const;
    Result classesPage(std::int64_t page, std::int64_t pageSize,
                       const std::optional<std::string>& sort,
                       const std::optional<std::string>& order) const;
    Result classDetails(const std::string& classTag) const;
    Result metadata() const;
    Result filter() const;
    Result activateSubscription() const;
    Result revokeAccess() const;
    Result tracking() const;
    Result contentToken(const std::string& contentId) const;
    Result perform(const std::string& contentId) const;

private:
    enum class Credential { basic, bearer };
    Result endpoint(const char* method, std::string path, Credential credential) const;
    std::optional<std::string> bearer() const;

    const KCSDKKeyChain keychain_;
    mutable std::mutex mutex_;
    std::shared_ptr<KCSDKConfig> sdkConfig_;
};

}  // namespace korvel
