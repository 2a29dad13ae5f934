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
#include <korvel/network/ContractAnswer.h>
#include <korvel/network/KCSDKMultipartForm.h>
#include <korvel/network/RequestExecution.h>
#include <korvel/network/ServiceOperations.h>
#include <korvel/platform/foundation/JSONEncoder.h>
#include <korvel/platform/foundation/UTF8.h>
#include <korvel/session/KCSDKConfig.h>
#include <korvel/session/KCSDKUtil.h>

#include <atomic>
#include <mutex>
#include <utility>

namespace korvel {

using platform::Data;
using platform::Device;
using platform::JSONEncoder;
using platform::repairedUTF8;

namespace {

constexpr auto loginDelay = std::chrono::milliseconds(500);

/// Tells whoever asked, if anybody did.
void tell(const BoxHandler& done, Outcome<Box> outcome) {
    if (done) done(std::move(outcome));
}

Failure unusableBaseURL() { return failureFor(Failure::Reason::unusableBaseURL); }

/// The service answered with a list, and what was asked for is not in it.
Failure notInTheList() {
    return {.reason = Failure::Reason::notFound, .status = 200, .body = Data()};
}

std::optional<std::string> repaired(std::optional<std::string> text) {
    if (text) text = repairedUTF8(std::move(*text));
    return text;
}

template <class Record> std::shared_ptr<Record> firstOf(const RecordList<Record>& list) {
    return list.empty() ? nullptr : list.front();
}

/// For requests whose accepted answer means nothing, whatever it holds.
RequestExecution::VerdictHandler accepted(Handler<Done> done) {
    return [done = std::move(done).boxed()](Verdict verdict, auto) {
        tell(done, verdict ? Outcome<Box>(nullptr) : std::move(verdict.failure()));
    };
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

struct ServiceOperations::Parts {
    struct Session {
        std::mutex changing;  ///< held while one user's items replace another's
        std::atomic<unsigned> logIns = 0;
    };

    Parts(const Device& device, std::shared_ptr<const JSONEncoder> jsonEncoder)
        : execution(device),
          keychain(device.keychain, device.diagnostics),
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

    /// Sends the endpoint, if there is one, and passes the decoded answer on.
    template <class Result>
    void request(const EndpointCatalogue::Result& endpoint, Handler<Result> done,
                 const Conducting& conduct) const {
        request(endpoint, RequestExecution::answerWith<Result>, std::move(done).boxed(), conduct);
    }
    void request(const EndpointCatalogue::Result& endpoint, const RequestExecution::Answer& answer,
                 BoxHandler done, const Conducting& conduct) const {
        if (!endpoint) return tell(done, unusableBaseURL());
        execution.performDataTask(*endpoint, execution.decoding(answer, std::move(done)), conduct);
    }

    const RequestExecution execution;
    const KCSDKKeyChain keychain;
    EndpointCatalogue endpoints;
    const KCSDKLocalytics analytics;
    const std::shared_ptr<Session> session = std::make_shared<Session>();
    const std::shared_ptr<platform::Localytics> localytics;
    const std::shared_ptr<platform::MainQueue> mainQueue;
    const std::shared_ptr<platform::Locale> locale;
    const std::shared_ptr<platform::Clock> clock;
    const std::shared_ptr<platform::Console> console;
    const std::shared_ptr<const JSONEncoder> encoder;
};

ServiceOperations::ServiceOperations(const Device& device,
                                     std::shared_ptr<const JSONEncoder> encoder)
    : parts_(std::make_shared<Parts>(device, std::move(encoder))) {}

ServiceOperations::~ServiceOperations() = default;

unsigned ServiceOperations::logIns() const { return parts_->session->logIns; }

EndpointCatalogue& ServiceOperations::endpoints() const { return parts_->endpoints; }

void ServiceOperations::logIn(const std::string& userName, RecordHandler<KCSDKUser> done,
                              const Conducting& conduct) const {
    auto endpoint = parts_->endpoints.login();
    if (!endpoint) return done(unusableBaseURL());
    const KCSDKMultipartForm form;
    endpoint->formParams =
        form.body(formFields(loginRequest(userName, *parts_->endpoints.sdkConfig())));

    using User = std::shared_ptr<KCSDKUser>;
    Handler<User> loggedIn = [session = parts_->session, keychain = parts_->keychain,
                              localytics = parts_->localytics, analytics = parts_->analytics,
                              manager = std::weak_ptr(parts_),
                              done = std::move(done)](Outcome<User> outcome) {
        if (outcome) {
            {
                const std::lock_guard lock(session->changing);
                KCSDKUtil::store(**outcome, keychain);
            }
            ++session->logIns;
            localytics->setCustomerId(outcome->userId);
            const auto parts = manager.lock();
            analytics.tagUserLogin(outcome->userId,
                                   parts ? parts->endpoints.sdkConfig()->tenantID : "NA");
        }
        done(std::move(outcome));
    };
    parts_->mainQueue->asyncAfter(
        loginDelay, [execution = parts_->execution, endpoint = std::move(*endpoint),
                     boundary = form.boundary, loggedIn = std::move(loggedIn).boxed(), conduct] {
            execution.performUpload(endpoint, boundary, execution.decodingUser(loggedIn), conduct);
        });
}

void ServiceOperations::consents(ListHandler<KCSDKConsent> done, const Conducting& conduct) const {
    parts_->request(parts_->endpoints.consentList(), std::move(done), conduct);
}

void ServiceOperations::acceptConsent(const std::string& tag, Handler<Done> done,
                                      const Conducting& conduct) const {
    auto endpoint = parts_->endpoints.consentAccept();
    if (!endpoint) return done(unusableBaseURL());
    KCSDKConsentRequest request;
    request.consentTag = repairedUTF8(tag);
    request.userId = parts_->endpoints.userId();
    endpoint->params = parts_->encodedOrReported(request);
    parts_->execution.performDataTask(*endpoint, accepted(std::move(done)), conduct);
}

void ServiceOperations::collections(const std::optional<std::string>& collectionId,
                                    std::int64_t maxResults,
                                    ListHandler<KCSDKOndemandCollection> done,
                                    const Conducting& conduct) const {
    using List = RecordList<KCSDKOndemandCollection>;
    const auto id = repaired(collectionId);
    parts_->request<List>(
        parts_->endpoints.collections(id, maxResults),
        [analytics = parts_->analytics, named = id.has_value(),
         done = std::move(done)](Outcome<List> outcome) {
            if (outcome) {
                const auto first = named ? firstOf(*outcome) : nullptr;
                analytics.tagCollectionListing(first.get());
            } else {
                // What completes without an error counts as listed.
                const auto answer = contractAnswer(outcome.failure());
                const auto* told = std::get_if<Answer>(&answer);
                if (told && !told->error) analytics.tagCollectionListing(nullptr);
            }
            done(std::move(outcome));
        },
        conduct);
}

void ServiceOperations::classes(const ClassesPage& page,
                                RecordHandler<KCSDKOndemandClassResponse> done,
                                const Conducting& conduct) const {
    const auto endpoint = parts_->endpoints.classesPage(page.page, page.size, repaired(page.sort),
                                                        repaired(page.order));
    if (endpoint && page.page < 2) parts_->analytics.tagClassListing(nullptr);
    parts_->request(endpoint, std::move(done), conduct);
}

void ServiceOperations::classDetails(const std::string& classTag,
                                     RecordHandler<KCSDKOndemandClass> done,
                                     const Conducting& conduct) const {
    using Page = std::shared_ptr<KCSDKOndemandClassResponse>;
    parts_->request<Page>(
        parts_->endpoints.classDetails(repairedUTF8(classTag)),
        [analytics = parts_->analytics, done = std::move(done)](Outcome<Page> outcome) {
            if (!outcome) return done(std::move(outcome.failure()));
            const auto found = firstOf(outcome->items);
            if (!found) return done(notInTheList());
            analytics.tagClassDetail(*found);
            done(found);
        },
        conduct);
}

void ServiceOperations::metaData(RecordHandler<KCSDKOndemandMetaData> done,
                                 const Conducting& conduct) const {
    parts_->request(parts_->endpoints.metadata(), std::move(done), conduct);
}

void ServiceOperations::search(const KCSDKOndemandFilterRequest& filter,
                               RecordHandler<KCSDKOndemandSearchResult> done,
                               const Conducting& conduct) const {
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
    parts_->request(endpoint, std::move(done), conduct);
}

void ServiceOperations::activateSubscription(const KCSDKUserSubscriptionRequest& subscription,
                                             Handler<Done> done, const Conducting& conduct) const {
    auto endpoint = parts_->endpoints.activateSubscription();
    if (!endpoint) return done(unusableBaseURL());
    endpoint->params = parts_->encodedOrReported(subscription);
    parts_->execution.performDataTask(*endpoint, accepted(std::move(done)), conduct);
}

void ServiceOperations::cancelSubscription(Handler<Done> done, const Conducting& conduct) const {
    const auto endpoint = parts_->endpoints.revokeAccess();
    if (!endpoint) return done(unusableBaseURL());
    parts_->execution.performDataTask(*endpoint, accepted(std::move(done)), conduct);
}

std::optional<ServiceOperations::Performance> ServiceOperations::performance(
    const KCSDKOndemandClass& ondemandClass, std::int64_t performedSeconds) const {
    auto endpoint = parts_->endpoints.tracking();
    if (!endpoint) return std::nullopt;
    auto record = std::make_shared<const KCSDKOndemandResultRequest>(
        classPerformance(ondemandClass, performedSeconds, parts_->endpoints.userId(),
                         *parts_->clock, *parts_->locale));
    const auto text = JSONEncoder().encode(*record);
    parts_->console->print("KCSDKOndemandResultRequest " +
                           std::string(text ? platform::viewOf(*text) : ""));
    endpoint->params = parts_->encodedOrReported(*record);
    if (!endpoint->params) return std::nullopt;
    parts_->analytics.tagClassPerformed(ondemandClass, performedSeconds);
    return Performance{std::move(*endpoint), std::move(record)};
}

EndpointCatalogue::Result ServiceOperations::performanceAgain(const Data& body,
                                                              const std::string& userId) const {
    const std::lock_guard lock(parts_->session->changing);
    if (parts_->endpoints.userId() != userId) return std::nullopt;
    auto endpoint = parts_->endpoints.tracking();
    if (endpoint) endpoint->params = body;
    return endpoint;
}

void ServiceOperations::record(const APIEndpoint& performance, Handler<Done> done,
                               const Conducting& conduct) const {
    parts_->execution.performDataTask(performance, accepted(std::move(done)), conduct);
}

void ServiceOperations::contentToken(const std::string& contentId,
                                     RecordHandler<KCSDKOndemandContentToken> done,
                                     const Conducting& conduct) const {
    parts_->request(parts_->endpoints.contentToken(contentId), std::move(done), conduct);
}

void ServiceOperations::perform(const std::string& classTag, RecordHandler<KCSDKOndemandClass> done,
                                const Conducting& conduct) const {
    using List = RecordList<KCSDKOndemandClass>;
    parts_->request<List>(
        parts_->endpoints.perform(repairedUTF8(classTag)),
        [analytics = parts_->analytics, done = std::move(done)](Outcome<List> outcome) {
            if (!outcome) {
                auto& failure = outcome.failure();
                if (failure.status == 403) failure.reason = Failure::Reason::subscriptionRequired;
                return done(std::move(failure));
            }
            const auto performed = firstOf(*outcome);
            if (!performed) return done(notInTheList());
            analytics.tagClassStarted(*performed);
            done(performed);
        },
        conduct);
}

}  // namespace korvel
