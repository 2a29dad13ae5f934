#include <korvel/doubles/FakeDevice.h>
#include "support/RealService.h"
#include "support/Samples.h"

#include <korvel/KorvelContentSDK.h>
#include <korvel/client/ContentClient.h>
#include <korvel/model/KCSDKOndemandContentToken.h>
#include <korvel/model/KCSDKUser.h>
#include <korvel/network/KCSDKNetworkManager.h>

#include <gtest/gtest.h>

#include <future>

namespace korvel::tests {

using namespace doubles;
namespace {

using namespace std::chrono_literals;
using service::Answer;
using Reason = Failure::Reason;

/// What one door tells: a reason, "value", or, of completions, "silence", "neither" or the error.
using Told = std::string;

Told render(const NSError& error) {
    Told text = error.domain + " " + std::to_string(error.code);
    for (const auto& [name, value] : error.userInfo) {
        text += " " + name + "=";
        if (const auto* bytes = error.data(name)) text += platform::viewOf(*bytes);
        if (const auto* words = error.text(name)) text += *words;
        if (error.object(name)) text += "a record";
    }
    return text;
}

/// A completion of any kind. When its last copy is destroyed, it tells what it was told.
class Completion {
public:
    std::future<Told> told() { return state_->told.get_future(); }
    template <class... Results> void operator()(const Results&... results) const {
        const auto all = std::tie(results...);
        const auto& error = std::get<sizeof...(results) - 1>(all);
        const bool hasValue = sizeof...(results) == 1 ? !error : static_cast<bool>(get<0>(all));
        EXPECT_EQ(state_->text, "silence") << "called twice";
        state_->text = error ? render(*error) : hasValue ? "value" : "neither";
    }

private:
    struct State {
        Told text = "silence";
        std::promise<Told> told;
        ~State() { told.set_value(text); }
    };
    std::shared_ptr<State> state_ = std::make_shared<State>();
};

/// An operation of the client of any kind, as its end.
struct Running {
    std::future<std::vector<Told>> ends;  ///< all of them, once nothing can end any more
    std::function<void()> cancel;
};

template <class T> Running running(Pending<T> pending) {
    struct Ends {
        std::vector<Told> all;
        std::promise<std::vector<Told>> told;
        ~Ends() { told.set_value(all); }
    };
    const auto ends = std::make_shared<Ends>();
    std::stop_source stop;
    Running result{ends->told.get_future(), [stop]() mutable { stop.request_stop(); }};
    std::move(pending).stoppedBy(stop.get_token()).then(nullptr, [ends](const Outcome<T>& outcome) {
        ends->all.push_back(outcome ? "value" : std::string(nameOf(outcome.failure().reason)));
    });
    return result;
}

enum class Shape { record, outcome, logIn, untold };

struct Endpoint {
    std::string name;
    Shape kind;
    std::function<Running(const ContentClient&)> ask;
    std::function<void(KCSDKNetworkManager&, const Completion&)> askByContract;
};

struct Fault {
    std::string name;
    Answer answer;
    Reason reason;
    std::array<Told, 4> contract;  ///< of each kind; "error": by the answer
};

const std::array<Told, 4> silent{"silence", "silence", "silence", "silence"};
const std::array<Told, 4> undecoded{"neither", "value", "value", "silence"};
const std::array<Told, 4> rejected{"error", "error", "value", "silence"};

const std::string tooLong((2 << 20) + 1, '[');

const std::vector<Fault> faults{
    {"refused", {}, Reason::unreachable, silent},
    {"TLS refused", {}, Reason::untrusted, silent},
    {"reset", {.resetAfter = 0}, Reason::unreachable, silent},
    {"black hole", {.hold = true}, Reason::timedOut, silent},
    {"slow drip", {.status = 201, .body = "17", .drip = {{20, 10s}}}, Reason::timedOut, undecoded},
    {"cancelled", {.hold = true}, Reason::cancelled, silent},
    {"204", {.status = 204, .body = ""}, Reason::refused, rejected},
    {"401", {.status = 401, .body = "who?"}, Reason::loggedOut, rejected},
    {"403", {.status = 403, .body = "no"}, Reason::refused, rejected},
    {"404", {.status = 404, .body = ""}, Reason::notFound, rejected},
    {"500", {.status = 500, .body = "\xff\xfe junk"}, Reason::refused, rejected},
    {"too long a refusal", {.status = 404, .body = tooLong}, Reason::notFound, rejected},
    {"601", {.status = 601, .body = consentJSON("c")}, Reason::consentRequired, rejected},
    {"not JSON", {.status = 200, .body = "<html>"}, Reason::notUnderstood, undecoded},
    {"wrong record", {.status = 201, .body = "17"}, Reason::notUnderstood, undecoded},
    {"empty", {.status = 200, .body = ""}, Reason::notUnderstood, undecoded},
    {"too long", {.status = 200, .body = tooLong}, Reason::notUnderstood, undecoded},
};

/// Both doors on the real transport against the real service; deadlines by a clock that stands
/// still until the test moves it.
class Matrix : public testing::Test {
protected:
    service::ContentService service;
    FakeDevice fake;
    std::shared_ptr<platform::MainQueue> timers =
        platform::make<platform::MainQueue>(fake.clock, platform::MainQueue::Driver::manual);
    std::shared_ptr<KCSDKConfig> config = makeConfig(service.options(), service.baseURL());

    platform::Device device() const {
        auto device = fake.device();
        device.urlSession = makeSession({.certificateAuthorityFile = service.caFile()});
        return device;
    }
    std::unique_ptr<ContentClient> makeClient() const {
        return std::make_unique<ContentClient>(
            device(), config, ClientOptions{.deadline = 30s, .readRetries = 0, .timers = timers});
    }

    const std::string tag = "50102";
    const std::shared_ptr<KCSDKOndemandClass> one = decoded<KCSDKOndemandClass>(classJSON(tag));
    const std::shared_ptr<KCSDKUserSubscriptionRequest> monthly =
        decoded<KCSDKUserSubscriptionRequest>(R"({"start":"now","subscriptionId":"monthly"})");
    const std::vector<Endpoint> endpoints{
        {"log-in", Shape::logIn, [](auto& client) { return running(client.logIn("anna")); },
         [](auto& sdk, auto& done) { sdk.startSession("anna", done); }},
        {"consents", Shape::record, [](auto& client) { return running(client.consents()); },
         [](auto& sdk, auto& done) { sdk.getConsent(done); }},
        {"consent", Shape::outcome, [](auto& client) { return running(client.acceptConsent("c")); },
         [](auto& sdk, auto& done) { sdk.acceptConsent("c", done); }},
        {"collections", Shape::record, [](auto& client) { return running(client.collections()); },
         [](auto& sdk, auto& done) { sdk.getOndemandCollections({}, 0, done); }},
        {"classes", Shape::record, [](auto& client) { return running(client.classes()); },
         [](auto& sdk, auto& done) { sdk.getOndemandClasses(1, 20, {}, {}, done); }},
        {"class", Shape::record, [&](auto& client) { return running(client.classDetails(tag)); },
         [&](auto& sdk, auto& done) { sdk.getOndemandClassDetails(tag, done); }},
        {"metadata", Shape::record, [](auto& client) { return running(client.metaData()); },
         [](auto& sdk, auto& done) { sdk.getOndemandMetaData(done); }},
        {"filter", Shape::record, [](auto& client) { return running(client.search({})); },
         [](auto& sdk, auto& done) { sdk.getOndemandClassesForCriteria({}, done); }},
        {"subscription", Shape::outcome,
         [&](auto& client) { return running(client.activateSubscription(*monthly)); },
         [&](auto& sdk, auto& done) { sdk.activateSubscription(*monthly, done); }},
        {"cancellation", Shape::outcome,
         [](auto& client) { return running(client.cancelSubscription()); },
         [](auto& sdk, auto& done) { sdk.cancelSubscription(done); }},
        {"tracking", Shape::untold,
         [&](auto& client) { return running(client.recordPerformance(*one, 7)); },
         [&](auto& sdk, auto&) { sdk.sendClassPerformance(*one, 7); }},
        {"content token", Shape::record,
         [&](auto& client) { return running(client.contentToken(tag)); },
         [&](auto& sdk, auto& done) { sdk.getContentToken(tag, done); }},
        {"perform", Shape::record, [&](auto& client) { return running(client.perform(tag)); },
         [&](auto& sdk, auto& done) { sdk.performClass(tag, done); }}};

    void arrange(const Fault& fault) {
        config->baseURL = fault.name == "refused" ? "https://localhost:1/" : service.baseURL();
        if (fault.name == "TLS refused") {
            service.refuseTLS();
        } else if (fault.name != "refused") {
            service.script(fault.answer);
        }
    }
    template <class Future> static auto soon(Future future) {
        if (future.wait_for(30s) != std::future_status::ready) {
            throw std::runtime_error("It does not end.");
        }
        return future.get();
    }

    std::vector<Told> askClient(const Endpoint& endpoint, const Fault& fault) {
        service.forgetRequests();
        const auto client = makeClient();  // with no connection left open by the exchange before
        arrange(fault);
        const auto before = service.counters().requests;
        auto operation = endpoint.ask(*client);
        fake.clock->advance(*fake.mainQueue, 500ms);  // a log-in waits so long
        if (fault.answer.hold) {
            EXPECT_TRUE(service.waitForHeld(1));
            if (fault.name == "cancelled") operation.cancel();
            fake.clock->advance(*timers, 30s + 50ms);
            service.release();
        } else if (fault.answer.drip) {
            EXPECT_TRUE(service.waitForRequests(before + 1));
            fake.clock->advance(*timers, 30s + 50ms);
        }
        return soon(std::move(operation.ends));
    }

    Told askByContract(const Endpoint& endpoint, Fault fault) {
        if (fault.answer.drip) fault.answer.drip->every = 1ms;  // it waits as long as it drips
        const auto manager = makeManager();
        arrange(fault);
        fake.console->takeLines();
        return askByContract(endpoint, *manager);
    }
    std::shared_ptr<KCSDKNetworkManager> makeManager() const {
        auto manager = std::make_shared<KCSDKNetworkManager>(device());
        manager->setSdkConfig(config);
        return manager;
    }
    Told askByContract(const Endpoint& endpoint, KCSDKNetworkManager& manager, bool sent = true) {
        std::future<Told> told;
        {
            Completion completion;
            told = completion.told();
            endpoint.askByContract(manager, completion);
        }
        fake.clock->advance(*fake.mainQueue, 500ms);
        if (endpoint.kind == Shape::untold && sent) {
            EXPECT_TRUE(fake.console->waitForLines(2)) << "the record, then the end";
        }
        return soon(std::move(told));
    }

    /// Of the contract's door, as the answer has it.
    static Told rejection(const Answer& answer, const Endpoint& endpoint) {
        const auto body = answer.body == tooLong ? "" : answer.body.value();
        const bool isText = !body.starts_with("\xff");
        if (answer.status == 601 && endpoint.name == "perform") return "SDK 601 consent=a record";
        return render({"SDK",
                       answer.status.value(),
                       {{"message", isText ? body : "na"}, {"data", platform::bytesOf(body)}}});
    }
};

Reason expected(const Endpoint& endpoint, const Fault& fault) {
    if (endpoint.name == "perform" && fault.name == "403") return Reason::subscriptionRequired;
    if (endpoint.kind == Shape::logIn && fault.name == "401") return Reason::refused;
    return fault.reason;
}

TEST_F(Matrix, EveryFaultOfEveryEndpointEndsOnceWithItsReasonBesideTheContractsDoor) {
    for (const auto& endpoint : endpoints) {
        for (const auto& fault : faults) {
            SCOPED_TRACE(endpoint.name + " and " + fault.name);
            const bool means = endpoint.kind != Shape::outcome && endpoint.kind != Shape::untold;
            const auto reason = expected(endpoint, fault);
            const bool accepted = reason == Reason::notUnderstood && !means;
            EXPECT_EQ(askClient(endpoint, fault),
                      std::vector<Told>{accepted ? "value" : std::string(nameOf(reason))});
            if (fault.answer.hold) continue;
            const auto told = fault.contract.at(static_cast<std::size_t>(endpoint.kind));
            EXPECT_EQ(askByContract(endpoint, fault),
                      told == "error" ? rejection(fault.answer, endpoint) : told);
            const auto lines = fake.console->takeLines();
            ASSERT_EQ(lines.size(),
                      endpoint.name == "filter" || endpoint.name == "tracking" ? 2 : 1)
                << "two print what they send";
            EXPECT_EQ(lines.back(), told == fault.contract.back() && fault.contract == silent
                                        ? "error"
                                        : "statusCode: " + std::to_string(*fault.answer.status));
        }
    }
}

TEST_F(Matrix, AnUnusableBaseURLIsRejectedAtOnceAndLeavesNoTrace) {
    for (const auto* base : {"", "not a url", "foo", "https://h/\u00FC", "https://h/%zz"}) {
        config->baseURL = base;
        for (const auto& endpoint : endpoints) {
            EXPECT_EQ(askByContract(endpoint, *makeManager(), false),
                      endpoint.kind == Shape::untold ? "silence" : render({"", 0, {}}))
                << endpoint.name << " at " << base;
        }
    }
    EXPECT_TRUE(service.requests().empty());
    EXPECT_TRUE(fake.events().empty());
    EXPECT_TRUE(fake.console->lines().empty());
    EXPECT_EQ(KCSDKNetworkManager(fake.device()).sdkConfig()->baseURL, "") << "until it is set";
}

}  // namespace
}  // namespace korvel::tests
