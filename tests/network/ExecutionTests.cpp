#include "network/Fixture.h"

namespace korvel::tests {
namespace {

class RequestExecution : public NetworkTest {};

TEST_F(RequestExecution, AbsentBodyObjectsAndAnswersAreSilenceOrNothing) {
    Told<std::shared_ptr<KCSDKOndemandClassResponse>> host;
    const auto exchange = [&](platform::Exchange answer) {
        manager->getOndemandClasses(9, 1, {}, {}, host.completion());
        fake.session->end(std::move(answer));
        EXPECT_TRUE(host.released()) << "a completion is destroyed with its exchange";
        return host.calls.size();
    };
    EXPECT_EQ(exchange(FakeURLSession::answered(200, std::nullopt)), 0u);
    EXPECT_EQ(exchange({}), 0u);
    EXPECT_EQ(exchange(FakeURLSession::answered(500, std::nullopt)), 1u);
    EXPECT_EQ(host.calls[0].value, nullptr);
    EXPECT_EQ(host.calls[0].error, std::nullopt);
    EXPECT_EQ(exchange(FakeURLSession::answered(201, pageJSON(classJSON("a")))), 2u);
    EXPECT_EQ(host.calls[1].value->items.at(0)->tag, "a");
    EXPECT_EQ(fake.diagnostics->started, 4u);
    EXPECT_EQ(fake.diagnostics->ended, 4u);
}

TEST_F(RequestExecution, EmptyCompletionsAndAVanishedManagerHarmNothing) {
    manager->getOndemandClasses(1, 1, {}, {}, {});
    manager->getConsent({});
    manager->cancelSubscription({});
    manager->getOndemandCollections("x", 1, {});
    manager.reset();
    fake.session->answer(200, pageJSON(""));
    fake.session->answer(404, "");
    fake.session->answer(500, "");
    fake.session->answer(200, "[]");
    EXPECT_EQ(fake.console->lines().size(), 4u);
}

}  // namespace
}  // namespace korvel::tests
