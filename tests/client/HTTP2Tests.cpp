// The service behind a real HTTP/2 server, as it is deployed: nginx in front of the development
// service.

#include <korvel/doubles/FakeDevice.h>
#include "support/HTTP2Front.h"
#include "support/RealService.h"

#include <korvel/KorvelContentSDK.h>
#include <korvel/client/ContentClient.h>
#include <korvel/model/KCSDKOndemandContentToken.h>
#include <korvel/model/KCSDKUser.h>

#include <gtest/gtest.h>

#include <future>
#include <memory>
#include <set>
#include <sstream>

namespace korvel::tests {

using namespace doubles;
namespace {

using namespace std::chrono_literals;

class HTTP2 : public testing::Test {
protected:
    void SetUp() override {
        if (!HTTP2Front::isInstalled()) GTEST_SKIP() << "nginx or openssl is not installed";
        ASSERT_TRUE(front.start(service.port())) << front.errors();
        client = makeClient();
    }

    /// On a session, and so with connections, of its own.
    std::unique_ptr<ContentClient> makeClient() const {
        auto device = fake.device();
        device.clock = std::make_shared<platform::SystemClock>();
        device.mainQueue = platform::make<platform::MainQueue>(
            device.clock, platform::MainQueue::Driver::ownThread);
        device.urlSession = makeSession({.certificateAuthorityFile = front.caFile()});
        return std::make_unique<ContentClient>(device, makeConfig(service.options(), front.url()),
                                               ClientOptions{.deadline = 30s, .readRetries = 0});
    }

    struct Line {
        std::string connection, protocol;
        int status = 0;
    };
    /// What the server has answered, once it is so much.
    std::vector<Line> answered(std::size_t count) const {
        std::vector<Line> lines;
        EXPECT_TRUE(eventually([&] {
            lines.clear();
            std::istringstream text(front.answers());
            for (Line line; text >> line.connection >> line.protocol >> line.status;) {
                lines.push_back(line);
            }
            return lines.size() >= count;
        }));
        return lines;
    }

    service::ContentService service{{.tls = false}};
    HTTP2Front front;
    FakeDevice fake;
    std::unique_ptr<ContentClient> client;
};

TEST_F(HTTP2, EveryEndpointWorksAndConsentIsAskedFor) {
    const std::string tag = "50102";
    EXPECT_TRUE(client->logIn("anna").get());
    EXPECT_TRUE(client->consents().get());
    EXPECT_TRUE(client->collections().get());
    EXPECT_TRUE(client->classes().get());
    EXPECT_TRUE(client->classDetails(tag).get());
    EXPECT_TRUE(client->metaData().get());
    EXPECT_TRUE(client->search({}).get());
    EXPECT_TRUE(client->activateSubscription({std::chrono::system_clock::now(), "gold"}).get());

    const auto refused = client->perform(tag).get();
    ASSERT_FALSE(refused);
    EXPECT_EQ(refused.failure().reason, Failure::Reason::consentRequired);
    EXPECT_TRUE(client->acceptConsent("privacy-2024").get());
    const auto performed = client->perform(tag).get();
    ASSERT_TRUE(performed);
    EXPECT_TRUE(client->recordPerformance(**performed, 17).get());
    EXPECT_EQ(service.accounts().performances().size(), 1u);
    EXPECT_TRUE(client->contentToken(tag).get());
    EXPECT_TRUE(client->cancelSubscription().get());

    std::multiset<int> statuses;
    for (const auto& line : answered(14)) {
        EXPECT_EQ(line.protocol, "HTTP/2.0");
        statuses.insert(line.status);
    }
    EXPECT_EQ(statuses.count(200) + statuses.count(201), 13u);
    EXPECT_EQ(statuses.count(601), 1u);
}

TEST_F(HTTP2, AQuestionTakesTheConnectionThatWasOpenedForIt) {
    const auto session = makeSession({.certificateAuthorityFile = front.caFile()});
    platform::URLRequest question(*platform::URL::parse(front.url() + "none"));
    question.method = "POST";
    question.takesOpenedConnection = true;
    session->connect(question.url);
    std::promise<platform::Exchange> promise;
    session->dataTask(question, [&](auto exchange) { promise.set_value(std::move(exchange)); });
    EXPECT_TRUE(promise.get_future().get().metrics.reusedConnection);
    EXPECT_EQ(answered(1).front().protocol, "HTTP/2.0");
}

TEST_F(HTTP2, ManyRequestsAtOnceTakeOneConnection) {
    constexpr std::size_t count = 120;
    // Until the server has said how many it takes, which comes in front of an answer, the library
    // counts on a hundred.
    EXPECT_TRUE(client->collections().get());
    service.script("/", "GET", {.hold = true}, count);
    std::vector<ContentClient::PendingList<KCSDKOndemandCollection>> all;
    for (std::size_t number = 0; number < count; ++number) all.push_back(client->collections());
    EXPECT_TRUE(service.waitForHeld(count)) << "all are on their way at once";
    service.release();
    for (auto& each : all) EXPECT_TRUE(std::move(each).get());
    std::set<std::string> connections;
    for (const auto& line : answered(count + 1)) {
        EXPECT_EQ(line.protocol, "HTTP/2.0");
        connections.insert(line.connection);
    }
    EXPECT_EQ(connections.size(), 1u);
}

}  // namespace
}  // namespace korvel::tests
