#include "sdk/ServiceFixture.h"

#include <sys/socket.h>

#include <netinet/in.h>
#include <unistd.h>

namespace korvel::tests {
namespace {

using service::Answer;

/// What the host sees of one exchange.
enum class Seen {
    silence,    ///< the completion is destroyed without a call
    neither,    ///< called with neither record nor error
    completed,  ///< called with the record, or, for an outcome, without an error
    rejection,  ///< called with an error
};

std::ostream& operator<<(std::ostream& out, Seen seen) {
    return out << std::array{"silence", "neither", "completed",
                             "rejection"}[static_cast<std::size_t>(seen)];
}

/// How an endpoint takes an answer: as a record, as an outcome whose body means nothing, as a
/// log-in whose status means nothing either, or not at all.
enum class Kind { record, outcome, logIn, untold };

struct Fault {
    std::string name;
    std::optional<Answer> answer;  ///< none: the connection itself fails
    Seen record, outcome, logIn;
    std::string console;  ///< the one line
};

Answer scripted(int status, std::string body) {
    return {.status = status, .body = std::move(body)};
}

Answer damaged(auto change) {
    Answer answer;
    change(answer);
    return answer;
}

const std::string junk = "\xff\xfe junk";

std::vector<Fault> faults() {
    using enum Seen;
    return {
        {"refused", std::nullopt, silence, silence, silence, "error"},
        {"TLS refused", std::nullopt, silence, silence, silence, "error"},
        {"reset before the head", damaged([](auto& a) { a.resetAfter = 0; }), silence, silence,
         silence, "error"},
        {"reset in the body",
         {{.status = 200, .body = std::string(5000, ' '), .resetAfter = 1000}},
         silence,
         silence,
         silence,
         "error"},
        {"truncated JSON", scripted(200, R"([{"tag":"c)"), neither, completed, completed,
         "statusCode: 200"},
        {"wrong type", scripted(201, "17"), neither, completed, completed, "statusCode: 201"},
        {"empty body", scripted(200, ""), neither, completed, completed, "statusCode: 200"},
        {"401", scripted(401, "who?"), rejection, rejection, completed, "statusCode: 401"},
        {"404", scripted(404, ""), rejection, rejection, completed, "statusCode: 404"},
        {"500", scripted(500, junk), rejection, rejection, completed, "statusCode: 500"},
        {"601", scripted(601, "{}"), rejection, rejection, completed, "statusCode: 601"},
        {"not UTF-8", scripted(200, junk), neither, completed, completed, "statusCode: 200"},
        {"slow drip", damaged([](auto& a) {
             a.drip = Answer::Drip{700, std::chrono::milliseconds(1)};
         }),
         completed, completed, completed, "statusCode: "},
    };
}

/// A port of this machine on which nobody listens, as long as the object lives.
class ClosedPort {
public:
    ClosedPort() {
        const auto any = reinterpret_cast<sockaddr*>(&address_);
        EXPECT_EQ(bind(socket_, any, sizeof address_), 0);
        socklen_t size = sizeof address_;
        EXPECT_EQ(getsockname(socket_, any, &size), 0);
    }
    ~ClosedPort() { close(socket_); }
    std::string baseURL() const {
        return "https://127.0.0.1:" + std::to_string(ntohs(address_.sin_port)) + "/";
    }

private:
    int socket_ = socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in address_{
        .sin_family = AF_INET, .sin_port = 0, .sin_addr = {htonl(INADDR_LOOPBACK)}, .sin_zero = {}};
};

class FaultMatrix : public ServiceTest {
protected:
    using Exchange = std::function<std::pair<Seen, std::optional<NSError>>()>;
    struct Endpoint {
        std::string name;
        Kind kind;
        Exchange run;
    };

    template <class Record> Endpoint record(std::string name, auto call) {
        return {
            std::move(name), Kind::record, [call] {
                Ending<Record, std::optional<NSError>> ending;
                call(ending.completion());
                const auto results = ending.wait();
                if (!results) return std::pair(Seen::silence, std::optional<NSError>());
                const auto& [value, error] = *results;
                EXPECT_FALSE(value && error);
                const auto seen = error ? Seen::rejection : value ? Seen::completed : Seen::neither;
                return std::pair(seen, error);
            }};
    }
    Endpoint outcome(std::string name, Kind kind, auto call) {
        return {std::move(name), kind, [call] {
                    Ending<std::optional<NSError>> ending;
                    call(ending.completion());
                    const auto results = ending.wait();
                    if (!results) return std::pair(Seen::silence, std::optional<NSError>());
                    const auto& [error] = *results;
                    return std::pair(error ? Seen::rejection : Seen::completed, error);
                }};
    }

    /// All thirteen. The user "anna" may do everything.
    std::vector<Endpoint> endpoints() {
        using platform::JSONEncoder;
        using Consents = std::optional<std::vector<std::shared_ptr<KCSDKConsent>>>;
        using Collections = std::optional<std::vector<std::shared_ptr<KCSDKOndemandCollection>>>;
        auto& m = *manager;
        const auto tag = aClass_->tag;
        return {
            outcome("log-in", Kind::logIn,
                    [&](auto done) {
                        m.startSession("anna", done);
                        passLogInDelay();
                    }),
            record<Consents>("consent list", [&](auto done) { m.getConsent(done); }),
            outcome("consent", Kind::outcome,
                    [&](auto done) { m.acceptConsent("privacy-2024", done); }),
            record<Collections>("collections",
                                [&](auto done) { m.getOndemandCollections({}, 2, done); }),
            record<std::shared_ptr<KCSDKOndemandClassResponse>>(
                "classes", [&](auto done) { m.getOndemandClasses(1, 9, {}, {}, done); }),
            record<std::shared_ptr<KCSDKOndemandClass>>(
                "class", [&m, tag](auto done) { m.getOndemandClassDetails(tag, done); }),
            record<std::shared_ptr<KCSDKOndemandMetaData>>(
                "metadata", [&](auto done) { m.getOndemandMetaData(done); }),
            record<std::shared_ptr<KCSDKOndemandSearchResult>>(
                "filter", [&](auto done) { m.getOndemandClassesForCriteria({}, done); }),
            outcome("subscription", Kind::outcome,
                    [&](auto done) { m.activateSubscription(*subscription_, done); }),
            outcome("cancellation", Kind::outcome,
                    [&](auto done) {
                        service.accounts().setSubscription("anna", service::Subscription{});
                        m.cancelSubscription(done);
                    }),
            {"tracking", Kind::untold,
             [this] {
                 manager->sendClassPerformance(*aClass_, 7);
                 console->waitFor(2);  // the record, then the end
                 return std::pair(Seen::silence, std::optional<NSError>());
             }},
            record<std::shared_ptr<KCSDKOndemandContentToken>>(
                "content token", [&](auto done) { m.getContentToken("50122", done); }),
            record<std::shared_ptr<KCSDKOndemandClass>>("perform",
                                                        [&m, tag, this](auto done) {
                                                            service.accounts().setSubscription(
                                                                "anna", service::Subscription{});
                                                            m.performClass(tag, done);
                                                        }),
        };
    }

    void SetUp() override {
        logIn("anna");
        service.accounts().acceptConsent("anna", "privacy-2024");
        Ending<std::shared_ptr<KCSDKOndemandClassResponse>, std::optional<NSError>> page;
        manager->getOndemandClasses(1, 1, {}, {}, page.completion());
        aClass_ = std::get<0>(page.wait().value())->items.at(0);
        console->take();
    }

    /// Prepares the service, or the address, for one request.
    void arrange(const Fault& fault) {
        config->baseURL = service.baseURL();
        manager = makeManager();  // with no connection left open by the exchange before
        if (fault.answer) {
            service.script(*fault.answer);
        } else if (fault.name == "refused") {
            config->baseURL = closedPort_.baseURL();
        } else {
            service.refuseTLS();
        }
    }

    const ClosedPort closedPort_;
    std::shared_ptr<KCSDKOndemandClass> aClass_;
    const std::shared_ptr<KCSDKUserSubscriptionRequest> subscription_ =
        decoded<KCSDKUserSubscriptionRequest>(R"({"start":"now","subscriptionId":"monthly"})");
};

TEST_F(FaultMatrix, EveryEndpointEndsEveryFaultAsItsKindDoes) {
    const auto allFaults = faults();
    for (std::size_t index = 0; index < endpoints().size(); ++index) {
        for (const auto& fault : allFaults) {
            arrange(fault);
            const auto endpoint = endpoints().at(index);
            SCOPED_TRACE(endpoint.name + " and " + fault.name);
            const auto [seen, error] = endpoint.run();
            const std::map<Kind, Seen> expected{{Kind::record, fault.record},
                                                {Kind::outcome, fault.outcome},
                                                {Kind::logIn, fault.logIn},
                                                {Kind::untold, Seen::silence}};
            EXPECT_EQ(seen, expected.at(endpoint.kind));
            if (error) {
                EXPECT_EQ(error->code, fault.answer.value().status);
            }
            const auto lines = console->take();
            ASSERT_FALSE(lines.empty());
            EXPECT_TRUE(lines.back().starts_with(fault.console)) << lines.back();
            const bool printsItsBody = endpoint.name == "filter" || endpoint.name == "tracking";
            EXPECT_EQ(lines.size(), printsItsBody ? 2u : 1u);
        }
    }
}

TEST_F(FaultMatrix, RequestsThatMustNotRepeatReachTheServiceOnceWhenTheConnectionDies) {
    for (std::size_t index = 0; index < endpoints().size(); ++index) {
        const auto endpoint = endpoints().at(index);
        if (endpoint.kind == Kind::record && endpoint.name != "filter") continue;
        SCOPED_TRACE(endpoint.name);
        Ending<std::shared_ptr<KCSDKOndemandMetaData>, std::optional<NSError>> warm;
        manager->getOndemandMetaData(
            warm.completion());  // leaves a connection that could be reused
        ASSERT_TRUE(warm.wait());
        service.forgetRequests();
        console->take();
        service.script(damaged([](auto& answer) { answer.cutOffAfter = 0; }));
        EXPECT_EQ(endpoint.run().first, Seen::silence);
        EXPECT_EQ(console->take().back(), "error");
        EXPECT_EQ(service.requests().size(), 1u);
    }
}

}  // namespace
}  // namespace korvel::tests
