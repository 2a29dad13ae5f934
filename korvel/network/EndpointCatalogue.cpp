#include <korvel/network/EndpointCatalogue.h>
#include <korvel/platform/foundation/Base64.h>
#include <korvel/platform/foundation/UTF8.h>
#include <korvel/session/KCSDKConfig.h>

#include <utility>

namespace korvel {

namespace {
std::string basic(const KCSDKConfig& config) {
    const auto credential = config.apiKey + ":" + config.secretKey;
    if (!platform::isValidUTF8(credential)) return "";
    return "Basic " + platform::base64Encoded(credential);
}
}  // namespace

EndpointCatalogue::EndpointCatalogue(KCSDKKeyChain keychain)
    : keychain_(std::move(keychain)),
      sdkConfig_(std::make_shared<KCSDKConfig>("", "", "", "", "")) {}

std::shared_ptr<KCSDKConfig> EndpointCatalogue::sdkConfig() const {
    const std::lock_guard lock(mutex_);
    return sdkConfig_;
}

void EndpointCatalogue::setSdkConfig(std::shared_ptr<KCSDKConfig> config) {
    const std::lock_guard lock(mutex_);
    sdkConfig_.swap(config);
}

std::string EndpointCatalogue::userId() const { return keychain_.loadText("userId").value_or(""); }

std::optional<std::string> EndpointCatalogue::bearer() const {
    const auto code = keychain_.loadText("token");
    return code ? std::optional("Bearer " + *code) : std::nullopt;
}

EndpointCatalogue::Result EndpointCatalogue::endpoint(const char* method, std::string path,
                                                      Credential credential) const {
    const auto config = sdkConfig();
    auto base = platform::URL::parse(config->baseURL);
    if (!base || !base->scheme()) return std::nullopt;
    return APIEndpoint{.baseURL = std::move(*base),
                       .path = std::move(path),
                       .params = {},
                       .method = method,
                       .token = credential == Credential::basic ? basic(*config) : bearer(),
                       .tenantId = config->tenantID,
                       .modId = {},
                       .formParams = {},
                       .headers = {}};
}

EndpointCatalogue::Result EndpointCatalogue::login() const {
    return endpoint("POST", "oauth/sdk/login", Credential::basic);
}

EndpointCatalogue::Result EndpointCatalogue::consentList() const {
    return endpoint("GET", "ondemand/v1/consent", Credential::basic);
}

EndpointCatalogue::Result EndpointCatalogue::consentAccept() const {
    return endpoint("POST", "ondemand/v1/consent", Credential::bearer);
}

EndpointCatalogue::Result EndpointCatalogue::collections(
    const std::optional<std::string>& collectionId, std::int64_t maxResults) const {
    auto path = "ondemand/v1/collections/" + collectionId.value_or("");
    if (maxResults >= 1) path += "?maxResults=" + std::to_string(maxResults);
    return endpoint("GET", std::move(path), Credential::basic);
}

EndpointCatalogue::Result EndpointCatalogue::classesPage(
    std::int64_t page, std::int64_t pageSize, const std::optional<std::string>& sort,
    const std::optional<std::string>& order) const {
    return endpoint("GET",
                    "ondemand/v1/classes/?filterBy=" + sort.value_or("alpha") + "&orderBy=" +
                        order.value_or("asc") + "&pageSize=" + std::to_string(pageSize) +
                        "&pageNumber=" + std::to_string(page),
                    Credential::basic);
}

EndpointCatalogue::Result EndpointCatalogue::classDetails(const std::string& classTag) const {
    return endpoint(
        "GET",
        "ondemand/v1/classes/?filterBy=alpha&orderBy=asc&pageSize=20&pageNumber=1&classId=" +
            classTag,
        Credential::basic);
}

EndpointCatalogue::Result EndpointCatalogue::metadata() const {
    return endpoint("GET", "api/v1/users/ondemand/metadata", Credential::bearer);
}

EndpointCatalogue::Result EndpointCatalogue::filter() const {
    return endpoint("POST", "ondemand/v1/filter", Credential::basic);
}

EndpointCatalogue::Result EndpointCatalogue::activateSubscription() const {
    return endpoint("PUT", "ondemand/v1/activatesubscription", Credential::bearer);
}

EndpointCatalogue::Result EndpointCatalogue::revokeAccess() const {
    return endpoint("PUT", "ondemand/v1/revokeaccess", Credential::bearer);
}

EndpointCatalogue::Result EndpointCatalogue::tracking() const {
    return endpoint("POST", "ondemand/v1/ondemandtracking", Credential::bearer);
}

EndpointCatalogue::Result EndpointCatalogue::contentToken(const std::string& contentId) const {
    auto result = endpoint("GET", "ondemand/v1/token/" + contentId, Credential::basic);
    if (result) {
        result->tenantId =
            "lanterns";  // content tokens have one issuer, whatever the host's tenant
        result->modId = "ios";
    }
    return result;
}

EndpointCatalogue::Result EndpointCatalogue::perform(const std::string& contentId) const {
    return endpoint("GET", "ondemand/v1/perform/" + contentId, Credential::bearer);
}

}  // namespace korvel
