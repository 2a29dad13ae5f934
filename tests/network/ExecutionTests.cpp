#include "network/Fixture.h"

namespace korvel::tests {
namespace {

class RequestExecution : public NetworkTest {
protected:
    Told<std::shared_ptr<KCSDKOndemandClassResponse>> host;

    void exchange(platform::Exchange answer) {
        manager->getOndemandClasses(9, 1, {}, {}, host.completion());
        fake.session->end(std::move(answer));
        EXPECT_TRUE(host.released()) << "a completion is destroyed with its exchange";
    }
};

TEST_F(RequestExecution, AcceptedAnswerIsTheRecordOrNothing) {
    for (const int status : {200, 201}) {
        exchange(FakeURLSession::answered(status, pageJSON(classJSON("a"))));
        ASSERT_NE(host.calls.back().value, nullptr);
        EXPECT_EQ(host.calls.back().value->items.at(0)->tag, "a");
    }
    exchange(FakeURLSession::answered(200, pageJSON(classJSON("a") + ",{}")));
    EXPECT_EQ(fake.diagnostics->undecodable.lines().back(),
              "KCSDKOndemandClassResponse items[1].tag");
    exchange(FakeURLSession::answered(500, std::nullopt));
    ASSERT_EQ(host.calls.size(), 4u);
    for (std::size_t i = 0; i < 4; ++i) {
        EXPECT_EQ(host.calls[i].value != nullptr, i < 2);
        EXPECT_EQ(host.calls[i].error, std::nullopt);
    }
    exchange(FakeURLSession::answered(200, std::nullopt));
    exchange({});
    EXPECT_EQ(host.calls.size(), 4u) << "silence without a body object, or an answer at all";
    EXPECT_EQ(fake.diagnostics->started, 6u);
    EXPECT_EQ(fake.diagnostics->ended, 6u);
}

TEST_F(RequestExecution, ConsentIsHandedOverWhenAClassNeedsOne) {
    Told<std::shared_ptr<KCSDKOndemandClass>> performed;
    const auto perform = [&](int status, const std::string& body) {
        manager->performClass("c", performed.completion());
        fake.session->answer(status, body);
        return performed.calls.back();
    };
    const auto required = perform(601, consentJSON("privacy"));
    ASSERT_TRUE(required.error);
    EXPECT_EQ(required.error->code, 601);
    EXPECT_EQ(required.error->userInfo.size(), 1u) << "neither message nor data";
    const auto consent = std::dynamic_pointer_cast<KCSDKConsent>(required.error->object("consent"));
    ASSERT_TRUE(consent);
    EXPECT_EQ(consent->consentTag, "privacy");
    for (const auto& body : {std::string("junk"), "[" + consentJSON("x") + "]", std::string()}) {
        EXPECT_EQ(perform(601, body).error, (NSError{"SDK", 601, {{"consent", "na"}}}));
    }
    EXPECT_EQ(perform(404, "x").error->code, 404);
    EXPECT_TRUE(fake.events().empty());
    EXPECT_EQ(perform(200, "[]").value, nullptr);
    EXPECT_EQ(perform(200, "[" + classJSON("a") + "," + classJSON("b") + "]").value->tag, "a");
    EXPECT_EQ(fake.events().size(), 1u);
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
