#include <korvel/analytics/KCSDKLocalytics.h>
#include <korvel/model/KCSDKConsent.h>
#include <korvel/model/KCSDKConsentRequest.h>
#include <korvel/model/KCSDKLoginRequest.h>
#include <korvel/model/KCSDKOndemandClass.h>
#include <korvel/model/KCSDKOndemandClassResponse.h>
#include <korvel/model/KCSDKOndemandCollection.h>
#include <korvel/model/KCSDKOndemandContentToken.h>
#include <korvel/model/KCSDKOndemandFilterRequest.h>
#include <korvel/model/KCSDKOndemandMetaData.h>
#include <korvel/model/KCSDKOndemandSearchResult.h>
#include <korvel/model/KCSDKUser.h>
#include <korvel/model/KCSDKUserSubscriptionRequest.h>
#include <korvel/network/ClassPerformance.h>
#include <korvel/network/EndpointCatalogue.h>
#include <korvel/network/KCSDKMultipartForm.h>
#include <korvel/network/KCSDKNetworkManager.h>
#include <korvel/network/RequestExecution.h>
#include <korvel/platform/Device.h>
#include <korvel/platform/foundation/JSONEncoder.h>
#include <korvel/platform/foundation/UTF8.h>
#include <korvel/session/KCSDKConfig.h>
#include <korvel/session/KCSDKUtil.h>

#include <utility>

namespace korvel {

using platform::Data;
using platform::Device;
using platform::JSONEncoder;
using platform::repairedUTF8;

namespace {

constexpr auto loginDelay = std::chrono::milliseconds(500);
constexpr int consentRequired = 601;

template <class Record> using List = std::vector<std::shared_ptr<Record>>;

/// Calls what the host gave, if it gave something.
template <class Callback, class... Arguments>
void answer(const Callback& callback, Arguments&&... arguments) {
    if (callback) callback(std::forward<Arguments>(arguments)...);
}

NSError unusableBaseURL() { return {}; }

std::optional<std::string> repaired(std::optional<std::string> text) {
    if (text) text = repairedUTF8(std::move(*text));
    return text;
}

template <class Record> std::shared_ptr<Record> firstOf(const List<Record>& list) {
    return list.empty() ? nullptr : list.front();
}

/// For requests whose accepted answer means nothing, whatever it holds.
RequestExecution::VerdictHandler outcome(ErrorCompletion completion) {
    return [completion = std::move(completion)](Verdict verdict, auto) {
        if (auto* rejection = std::get_if<Rejection>(&verdict)) {
            answer(completion, std::move(rejection->error));
        } else if (std::holds_alternative<Payload>(verdict)) {
            answer(completion, std::nullopt);
        }
    };
}

/// What the host is told when the service wants a consent before it lets a class be performed; any
/// other error as it is.
std::optional<NSError> asConsentError(std::optional<NSError> error) {
    if (!error || error->code != consentRequired) return error;
    NSError::Value consent = std::string("na");
    if (const auto* body = error->data("data")) {
        if (auto record = platform::decodeJSON<std::shared_ptr<KCSDKConsent>>(*body)) {
            consent = std::move(*record);
        }
    }
    return NSError{.domain = "SDK", .code = consentRequired, .userInfo = {{"consent", consent}}};
}

/// The log-in goes out as a form; "skipConsent" is fixed because consents are asked for later.
KCSDKMultipartForm::TextFields formFields(const KCSDKLoginRequest& request) {
    return {{"username", request.username},
            {"password", request.password},
            {"firstname", request.firstname},
            {"lastname", request.lastname},
            {"skipConsent", "true"},
            {"response_type", request.responsetype},
            {"redirect_uri", request.redirecturi},
            {"scope", request.scope},
            {"tenantId", request.tenantId},
            {"client_id", request.clientid},
            {"countrycode", request.countrycode}};
}

KCSDKLoginRequest loginRequest(const std::string& userName, const KCSDKConfig& config) {
    KCSDKLoginRequest request;
    request.username = repairedUTF8(userName);
    request.skipconsent = true;
    request.responsetype = "token";
    request.redirecturi = config.baseURL;
    request.scope = "openid";
    request.tenantId = config.tenantID;
    request.clientid = config.apiKey;
    request.countrycode = config.countryCode;
    return request;
}

}  // namespace

struct KCSDKNetworkManager::Parts {
    Parts(const Device& device, std::shared_ptr<const JSONEncoder> jsonEncoder)
        : execution(device.urlSession, device.locale, device.console, device.diagnostics),
          keychain(device.keychain),
          endpoints(keychain),
          analytics(device.localytics),
          localytics(device.localytics),
          mainQueue(device.mainQueue),
          locale(device.locale),
          clock(device.clock),
          console(device.console),
          encoder(jsonEncoder ? std::move(jsonEncoder) : std::make_shared<JSONEncoder>()) {}

    /// The record as a body; nothing, and a line that says why, if it cannot be encoded.
    template <class Record> std::optional<Data> encodedOrReported(const Record& record) const {
        std::string error;
        auto body = encoder->encode(record, &error);
        if (!body) console->print("Unexpected error: " + error + ".");
        return body;
    }

    /// Sends the endpoint, if there is one, and passes the decoded record on.
    template <class Record>
    void request(const EndpointCatalogue::Result& endpoint, Completion<Record> completion) const {
        if (!endpoint) return answer(completion, nullptr, unusableBaseURL());
        execution.performDataTask(
            *endpoint, execution.decoding<std::shared_ptr<Record>>(
                           [completion = std::move(completion)](auto record, auto error) {
                               answer(completion, std::move(record).value_or(nullptr),
                                      std::move(error));
                           }));
    }

    template <class Record>
    void requestList(const EndpointCatalogue::Result& endpoint,
                     ListCompletion<Record> completion) const {
        if (!endpoint) return answer(completion, std::nullopt, unusableBaseURL());
        execution.performDataTask(*endpoint,
                                  execution.decoding<List<Record>>(
                                      [completion = std::move(completion)](auto list, auto error) {
                                          answer(completion, std::move(list), std::move(error));
                                      }));
    }

    const RequestExecution execution;
    const KCSDKKeyChain keychain;
    EndpointCatalogue endpoints;
    const KCSDKLocalytics analytics;
    const std::shared_ptr<platform::Localytics> localytics;
    const std::shared_ptr<platform::MainQueue> mainQueue;
    const std::shared_ptr<platform::Locale> locale;
    const std::shared_ptr<platform::Clock> clock;
    const std::shared_ptr<platform::Console> console;
    const std::shared_ptr<const JSONEncoder> encoder;
};

const std::shared_ptr<KCSDKNetworkManager>& KCSDKNetworkManager::shared() {
    // Never destroyed: answers may arrive while the process exits.
    static const auto& manager = *new std::shared_ptr<KCSDKNetworkManager>(
        std::make_shared<KCSDKNetworkManager>(Device::current()));
    return manager;
}

KCSDKNetworkManager::KCSDKNetworkManager(const Device& device,
                                         std::shared_ptr<const JSONEncoder> encoder)
    : parts_(std::make_shared<Parts>(device, std::move(encoder))) {}

KCSDKNetworkManager::~KCSDKNetworkManager() = default;

std::shared_ptr<KCSDKConfig> KCSDKNetworkManager::sdkConfig() const {
    return parts_->endpoints.sdkConfig();
}

void KCSDKNetworkManager::setSdkConfig(std::shared_ptr<KCSDKConfig> config) {
    parts_->endpoints.setSdkConfig(std::move(config));
}

void KCSDKNetworkManager::startSession(const std::string& userName, ErrorCompletion completion) {
    auto endpoint = parts_->endpoints.login();
    if (!endpoint) return answer(completion, unusableBaseURL());
    const KCSDKMultipartForm form;
    endpoint->formParams = form.body(formFields(loginRequest(userName, *sdkConfig())));

    auto loggedIn = [keychain = parts_->keychain, localytics = parts_->localytics,
                     analytics = parts_->analytics, manager = std::weak_ptr(parts_),
                     completion = std::move(completion)](auto user, auto error) {
        if (!error && user) {
            KCSDKUtil::store(**user, keychain);
            localytics->setCustomerId((*user)->userId);
            const auto parts = manager.lock();
            analytics.tagUserLogin((*user)->userId,
                                   parts ? parts->endpoints.sdkConfig()->tenantID : "NA");
            answer(completion, std::nullopt);
        } else {
            answer(completion, std::move(error));
        }
    };
    parts_->mainQueue->asyncAfter(
        loginDelay, [execution = parts_->execution, endpoint = std::move(*endpoint),
                     boundary = form.boundary, loggedIn = std::move(loggedIn)] {
            execution.performUpload(endpoint, boundary,
                                    execution.decoding<std::shared_ptr<KCSDKUser>>(loggedIn));
        });
}

void KCSDKNetworkManager::getConsent(ListCompletion<KCSDKConsent> completion) {
    parts_->requestList(parts_->endpoints.consentList(), std::move(completion));
}

void KCSDKNetworkManager::acceptConsent(const std::string& tag, ErrorCompletion completion) {
    auto endpoint = parts_->endpoints.consentAccept();
    if (!endpoint) return answer(completion, unusableBaseURL());
    KCSDKConsentRequest request;
    request.consentTag = repairedUTF8(tag);
    request.userId = parts_->endpoints.userId();
    endpoint->params = parts_->encodedOrReported(request);
    parts_->execution.performDataTask(*endpoint, outcome(std::move(completion)));
}

void KCSDKNetworkManager::getOndemandCollections(
    const std::optional<std::string>& collectionId, std::int64_t maxResults,
    ListCompletion<KCSDKOndemandCollection> completion) {
    const auto id = repaired(collectionId);
    parts_->requestList<KCSDKOndemandCollection>(
        parts_->endpoints.collections(id, maxResults),
        [analytics = parts_->analytics, named = id.has_value(), completion = std::move(completion)](
            auto list, auto error) {
            if (!error) {
                const auto first = named && list ? firstOf(*list) : nullptr;
                analytics.tagCollectionListing(first.get());
            }
            answer(completion, std::move(list), std::move(error));
        });
}

void KCSDKNetworkManager::getOndemandClasses(std::int64_t page, std::int64_t pageSize,
                                             const std::optional<std::string>& sort,
                                             const std::optional<std::string>& order,
                                             Completion<KCSDKOndemandClassResponse> completion) {
    const auto endpoint =
        parts_->endpoints.classesPage(page, pageSize, repaired(sort), repaired(order));
    if (endpoint && page < 2) parts_->analytics.tagClassListing(nullptr);
    parts_->request(endpoint, std::move(completion));
}

void KCSDKNetworkManager::getOndemandClassDetails(const std::string& classTag,
                                                  Completion<KCSDKOndemandClass> completion) {
    parts_->request<KCSDKOndemandClassResponse>(
        parts_->endpoints.classDetails(repairedUTF8(classTag)),
        [analytics = parts_->analytics, completion = std::move(completion)](auto page, auto error) {
            const auto found = page ? firstOf(page->items) : nullptr;
            if (found) analytics.tagClassDetail(*found);
            answer(completion, found, std::move(error));
        });
}

void KCSDKNetworkManager::getOndemandMetaData(Completion<KCSDKOndemandMetaData> completion) {
    parts_->request(parts_->endpoints.metadata(), std::move(completion));
}

void KCSDKNetworkManager::getOndemandClassesForCriteria(
    const KCSDKOndemandFilterRequest& filter, Completion<KCSDKOndemandSearchResult> completion) {
    auto endpoint = parts_->endpoints.filter();
    if (endpoint) {
        endpoint->params = parts_->encoder->encode(filter);
        if (endpoint->params) {
            const auto text = platform::viewOf(*endpoint->params);
            parts_->console->print("jsonData:  " + (platform::isValidUTF8(text)
                                                        ? std::string(text)
                                                        : std::string("no body data")));
        }
        parts_->analytics.tagClassListing(&filter);
    }
    parts_->request(endpoint, std::move(completion));
}

void KCSDKNetworkManager::activateSubscription(const KCSDKUserSubscriptionRequest& subscription,
                                               ErrorCompletion completion) {
    auto endpoint = parts_->endpoints.activateSubscription();
    if (!endpoint) return answer(completion, unusableBaseURL());
    endpoint->params = parts_->encodedOrReported(subscription);
    parts_->execution.performDataTask(*endpoint, outcome(std::move(completion)));
}

void KCSDKNetworkManager::cancelSubscription(ErrorCompletion completion) {
    const auto endpoint = parts_->endpoints.revokeAccess();
    if (!endpoint) return answer(completion, unusableBaseURL());
    parts_->execution.performDataTask(*endpoint, outcome(std::move(completion)));
}

void KCSDKNetworkManager::sendClassPerformance(const KCSDKOndemandClass& ondemandClass,
                                               std::int64_t performedSeconds) {
    auto endpoint = parts_->endpoints.tracking();
    if (!endpoint) return;
    const auto record =
        classPerformance(ondemandClass, performedSeconds, parts_->endpoints.userId(),
                         *parts_->clock, *parts_->locale);
    const auto text = JSONEncoder().encode(record);
    parts_->console->print("KCSDKOndemandResultRequest " +
                           std::string(text ? platform::viewOf(*text) : ""));
    endpoint->params = parts_->encodedOrReported(record);
    if (!endpoint->params) return;
    parts_->analytics.tagClassPerformed(ondemandClass, performedSeconds);
    parts_->execution.performDataTask(*endpoint, {});
}

void KCSDKNetworkManager::getContentToken(const std::string& contentId,
                                          Completion<KCSDKOndemandContentToken> completion) {
    parts_->request(parts_->endpoints.contentToken(contentId), std::move(completion));
}

void KCSDKNetworkManager::performClass(const std::string& classTag,
                                       Completion<KCSDKOndemandClass> completion) {
    parts_->requestList<KCSDKOndemandClass>(
        parts_->endpoints.perform(repairedUTF8(classTag)),
        [analytics = parts_->analytics, completion = std::move(completion)](auto list, auto error) {
            const auto performed = list ? firstOf(*list) : nullptr;
            if (performed) analytics.tagClassStarted(*performed);
            answer(completion, performed, asConsentError(std::move(error)));
        });
}

}  // namespace korvel
