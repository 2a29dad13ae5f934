#include <korvel/doubles/FakeDevice.h>
#include "support/Samples.h"

#include <korvel/KorvelContentSDK.h>
#include <korvel/network/KCSDKNetworkManager.h>
#include <korvel/platform/backends/curl/URLSessionCurl.h>
#include <service/ContentService.h>

#include <gtest/gtest.h>

#include <future>

namespace korvel::tests {

using namespace doubles;
namespace {

using namespace std::chrono_literals;
using service::Answer;
using service::Subscription;

/// What the host sees of one exchange.
enum class Seen {
    silence,    ///< the completion is destroyed without a call
    neither,    ///< called with neither record nor error
    completed,  ///< called with the record, or, for an outcome, without an error
    rejection,  ///< called with an error
};
using enum Seen;

std::ostream& operator<<(std::ostream& out, Seen seen) {
    return out << std::array{"silence", "neither", "completed",
                             "rejection"}[static_cast<std::size_t>(seen)];
}

using Outcome = std::pair<Seen, std::optional<NSError>>;

/// A completion for any endpoint. When its last copy is destroyed, it tells what the host saw.
class Witness {
public:
    std::future<Outcome> outcome() { return state_->ended.get_future(); }

    template <class... Results> void operator()(const Results&... results) const {
        const auto all = std::tie(results...);
        const auto& error = std::get<sizeof...(results) - 1>(all);
        const bool hasValue = sizeof...(results) == 1 ? !error : static_cast<bool>(get<0>(all));
        EXPECT_FALSE(error && hasValue);
        EXPECT_EQ(state_->outcome.first, silence) << "called twice";
        state_->outcome = {error ? rejection : hasValue ? completed : neither, error};
    }

private:
    struct State {
        Outcome outcome{silence, std::nullopt};
        std::promise<Outcome> ended;
        ~State() { ended.set_value(outcome); }
    };
    std::shared_ptr<State> state_ = std::make_shared<State>();
};

/// How an endpoint takes an answer: as a record, as an outcome whose body means nothing, as a
/// log-in whose status means nothing either, or not at all.
enum class Kind { record, outcome, logIn, untold };

struct Endpoint {
    std::string name;
    Kind kind;
    std::function<void(const Witness&)> call;
};

using Endings = std::array<Seen, 4>;  ///< of each kind
constexpr Endings lost{silence, silence, silence, silence};
constexpr Endings undecodable{neither, completed, completed, silence};
constexpr Endings refused{rejection, rejection, completed, silence};
constexpr Endings whole{completed, completed, completed, silence};

const std::string tooLong((2 << 20) + 1, '[');

const struct Fault {
    std::string name;
    Answer answer;
    Endings seen;
} faults[] = {
    {"refused", {}, lost},
    {"TLS refused", {}, lost},
    {"reset before the head", {.resetAfter = 0}, lost},
    {"reset in the body", {.body = std::string(5000, ' '), .resetAfter = 1000}, lost},
    {"truncated JSON", {.status = 200, .body = R"([{"tag":"c)"}, undecodable},
    {"wrong type", {.status = 201, .body = "17"}, undecodable},
    {"empty body", {.status = 200, .body = ""}, undecodable},
    {"not UTF-8", {.status = 200, .body = "\xff\xfe junk"}, undecodable},
    {"204", {.status = 204, .body = ""}, refused},
    {"401", {.status = 401, .body = "who?"}, refused},
    {"404", {.status = 404, .body = ""}, refused},
    {"500", {.status = 500, .body = "\xff\xfe junk"}, refused},
    {"601", {.status = 601, .body = "{}"}, refused},
    {"too long", {.status = 200, .body = tooLong}, undecodable},
    {"too long a refusal", {.status = 404, .body = tooLong}, refused},
    {"slow drip", {.drip = Answer::Drip{700, 1ms}}, whole},
};

/// The manager on the real transport against the real service; time, keychain and analytics are
/// fakes. The user "anna" may do everything.
class FaultMatrix : public testing::Test {
protected:
    service::ContentService service;
    FakeDevice fake;
    std::shared_ptr<KCSDKConfig> config = std::make_shared<KCSDKConfig>(
        service.baseURL(), service.options().secretKey, service.options().apiKey,
        service.options().tenant, "analytics");
    std::shared_ptr<KCSDKNetworkManager> manager = makeManager();

    std::shared_ptr<KCSDKNetworkManager> makeManager() const {
        auto device = fake.device();
        device.urlSession = platform::makeURLSessionCurl(
            {.certificateAuthorityFile = service.caFile()},
            [](auto task) { platform::DispatchQueue::global().async(std::move(task)); });
        auto made = std::make_shared<KCSDKNetworkManager>(device);
        made->setSdkConfig(config);
        return made;
    }

    void SetUp() override {
        const auto user = service.accounts().logIn("anna");
        fake.keychain->put("token", user.code);
        fake.keychain->put("userId", user.id);
        service.accounts().acceptConsent("anna", "privacy-2024");
    }

    const std::string tag = "50102";
    const std::vector<Endpoint> endpoints{
        {"log-in", Kind::logIn, [&](auto& done) { manager->startSession("anna", done); }},
        {"consents", Kind::record, [&](auto& done) { manager->getConsent(done); }},
        {"consent", Kind::outcome,
         [&](auto& done) { manager->acceptConsent("privacy-2024", done); }},
        {"collections", Kind::record,
         [&](auto& done) { manager->getOndemandCollections({}, 2, done); }},
        {"classes", Kind::record,
         [&](auto& done) { manager->getOndemandClasses(1, 9, {}, {}, done); }},
        {"class", Kind::record, [&](auto& done) { manager->getOndemandClassDetails(tag, done); }},
        {"metadata", Kind::record, [&](auto& done) { manager->getOndemandMetaData(done); }},
        {"filter", Kind::record,
         [&](auto& done) { manager->getOndemandClassesForCriteria({}, done); }},
        {"subscription", Kind::outcome,
         [&](auto& done) {
             manager->activateSubscription(*decoded<KCSDKUserSubscriptionRequest>(
                                               R"({"start":"now","subscriptionId":"monthly"})"),
                                           done);
         }},
        {"cancellation", Kind::outcome, [&](auto& done) { manager->cancelSubscription(done); }},
        {"tracking", Kind::untold,
         [&](auto&) {
             manager->sendClassPerformance(*decoded<KCSDKOndemandClass>(classJSON(tag)), 7);
         }},
        {"content token", Kind::record,
         [&](auto& done) { manager->getContentToken("50122", done); }},
        {"perform", Kind::record, [&](auto& done) { manager->performClass(tag, done); }}};

    static std::future<Outcome> start(const Endpoint& endpoint) {
        Witness completion;
        auto outcome = completion.outcome();
        endpoint.call(completion);
        return outcome;
    }
    Outcome run(const Endpoint& endpoint) {
        service.accounts().setSubscription("anna", Subscription{"now", "monthly"});
        auto outcome = start(endpoint);
        fake.clock->advance(*fake.mainQueue, 500ms);  // a log-in waits so long
        if (endpoint.kind == Kind::untold) {
            EXPECT_TRUE(fake.console->waitForLines(2)) << "the record, then the end";
        }
        if (outcome.wait_for(30s) != std::future_status::ready) {
            throw std::runtime_error("The exchange does not end.");
        }
        return outcome.get();
    }

    /// Prepares the service, or the address, for one request.
    void arrange(const Fault& fault) {
        config->baseURL = fault.name == "refused" ? "https://localhost:1/" : service.baseURL();
        manager = makeManager();  // with no connection left open by the exchange before
        if (fault.name == "TLS refused") {
            service.refuseTLS();
        } else if (fault.name != "refused") {
            service.script(fault.answer);
        }
        fake.console->takeLines();
    }

    static NSError rejectionBy(const Answer& answer, const Endpoint& endpoint) {
        const auto body = answer.body == tooLong ? "" : answer.body.value();
        if (answer.status == 601 && endpoint.name == "perform") {
            return {"SDK", 601, {{"consent", "na"}}};
        }
        return {"SDK",
                answer.status.value(),
                {{"message", body.starts_with("\xff") ? "na" : body},
                 {"data", platform::bytesOf(body)}}};
    }
};

TEST_F(FaultMatrix, EveryEndpointEndsEveryFaultAsItsKindDoes) {
    for (const auto& endpoint : endpoints) {
        for (const auto& fault : faults) {
            SCOPED_TRACE(endpoint.name + " and " + fault.name);
            arrange(fault);
            const auto [seen, error] = run(endpoint);
            EXPECT_EQ(seen, fault.seen.at(static_cast<std::size_t>(endpoint.kind)));
            if (error) {
                EXPECT_EQ(error, rejectionBy(fault.answer, endpoint));
            }
            const auto lines = fake.console->takeLines();
            const bool printsItsBody = endpoint.name == "filter" || endpoint.name == "tracking";
            ASSERT_EQ(lines.size(), printsItsBody ? 2u : 1u);
            const auto status = fault.answer.status;
            EXPECT_TRUE(lines.back().starts_with(
                fault.seen == lost ? "error"
                                   : "statusCode: " + (status ? std::to_string(*status) : "20")))
                << lines.back();
        }
    }
}

TEST_F(FaultMatrix, AnUnusableBaseURLIsRejectedAtOnceAndLeavesNoTrace) {
    for (const auto* base : {"", "not a url", "foo", "https://h/\u00FC", "https://h/%zz"}) {
        config->baseURL = base;
        for (const auto& endpoint : endpoints) {
            SCOPED_TRACE(endpoint.name + " at " + base);
            auto outcome = start(endpoint);
            ASSERT_EQ(outcome.wait_for(0s), std::future_status::ready);
            EXPECT_EQ(outcome.get(), endpoint.kind == Kind::untold
                                         ? Outcome(silence, std::nullopt)
                                         : Outcome(rejection, NSError{"", 0, {}}));
        }
    }
    fake.clock->advance(*fake.mainQueue, 1s);
    EXPECT_TRUE(service.requests().empty());
    EXPECT_TRUE(fake.events().empty());
    EXPECT_TRUE(fake.console->lines().empty());
    EXPECT_EQ(KCSDKNetworkManager(fake.device()).sdkConfig()->baseURL, "") << "until it is set";
}

TEST_F(FaultMatrix, RequestsThatMustNotRepeatReachTheServiceOnceWhenTheConnectionDies) {
    for (const auto& endpoint : endpoints) {
        if (endpoint.kind == Kind::record && endpoint.name != "filter") continue;
        SCOPED_TRACE(endpoint.name);
        EXPECT_EQ(run(endpoints.at(1)).first, completed);  // leaves a connection behind
        service.forgetRequests();
        fake.console->takeLines();
        service.script({.cutOffAfter = 0});
        EXPECT_EQ(run(endpoint).first, silence);
        EXPECT_EQ(fake.console->lines().back(), "error");
        EXPECT_EQ(service.requests().size(), 1u);
    }
}

}  // namespace
}  // namespace korvel::tests
