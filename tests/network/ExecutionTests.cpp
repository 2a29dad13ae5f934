#include "network/Fixture.h"

namespace korvel::tests {
namespace {

NSError rejection(int status, std::string message, std::string_view body) {
    return {"SDK", status, {{"message", std::move(message)}, {"data", platform::bytesOf(body)}}};
}

class RequestExecution : public NetworkTest {
protected:
    Told<std::shared_ptr<KCSDKOndemandClassResponse>> host;

    void exchange(int status, std::optional<std::string_view> body) {
        manager->getOndemandClasses(9, 1, {}, {}, host.completion());
        fake.session->answer(status, body);
        EXPECT_TRUE(host.released()) << "a completion is destroyed with its exchange";
    }
};

TEST_F(RequestExecution, RejectionReachesTheHostWithStatusTextAndBytes) {
    exchange(404, "not found");
    exchange(500, "");
    exchange(503, "\xff");
    exchange(204, "");
    exchange(601, "consent");
    ASSERT_EQ(host.calls.size(), 5u);
    EXPECT_EQ(host.calls[0].error, rejection(404, "not found", "not found"));
    EXPECT_EQ(host.calls[1].error, rejection(500, "", ""));
    EXPECT_EQ(host.calls[2].error, rejection(503, "na", "\xff"));
    EXPECT_EQ(host.calls[3].error, rejection(204, "", ""));
    EXPECT_EQ(host.calls[4].error, rejection(601, "consent", "consent"));
    EXPECT_EQ(fake.console->lines(),
              (std::vector<std::string>{"statusCode: 404", "statusCode: 500", "statusCode: 503",
                                        "statusCode: 204", "statusCode: 601"}));
}

TEST_F(RequestExecution, AcceptedAnswerIsTheRecordOrNothing) {
    for (const int status : {200, 201}) {
        exchange(status, pageJSON(classJSON("a")));
        ASSERT_NE(host.calls.back().value, nullptr);
        EXPECT_EQ(host.calls.back().value->items.at(0)->tag, "a");
    }
    const std::vector<std::string> noPages{"", "{}", "[]", "null",
                                           pageJSON(classJSON("a") + ",{}")};
    for (const auto& body : noPages) exchange(200, body);
    ASSERT_EQ(host.calls.size(), 2 + noPages.size());
    for (std::size_t i = 0; i < host.calls.size(); ++i) {
        EXPECT_EQ(host.calls[i].value != nullptr, i < 2);
        EXPECT_EQ(host.calls[i].error, std::nullopt);
    }
    EXPECT_EQ(fake.diagnostics->undecodable().back(), "KCSDKOndemandClassResponse items[1].tag");
}

TEST_F(RequestExecution, AbsentBodyObjectIsSilenceWhenAcceptedAndNoErrorWhenRejected) {
    exchange(200, std::nullopt);
    EXPECT_TRUE(host.calls.empty());
    exchange(500, std::nullopt);
    ASSERT_EQ(host.calls.size(), 1u);
    EXPECT_EQ(host.calls[0].value, nullptr);
    EXPECT_EQ(host.calls[0].error, std::nullopt);
}

TEST_F(RequestExecution, TransportFailureIsOneLineAndSilence) {
    manager->getOndemandClasses(9, 1, {}, {}, host.completion());
    fake.session->failTransport();
    manager->getOndemandClasses(9, 1, {}, {}, host.completion());
    fake.session->end({});  // neither answer nor error
    EXPECT_TRUE(host.calls.empty());
    EXPECT_TRUE(host.released());
    EXPECT_EQ(fake.console->lines(), std::vector<std::string>{"error"});
    EXPECT_EQ(fake.diagnostics->started(), 2u);
    EXPECT_EQ(fake.diagnostics->ended(), 2u);
}

TEST_F(RequestExecution, OutcomesIgnoreWhatAnAcceptedAnswerHolds) {
    ToldOutcome outcome;
    for (const auto* body : {"", "\"ok\"", "{}", "\xff"}) {
        manager->cancelSubscription(outcome.completion());
        fake.session->answer(200, body);
    }
    manager->acceptConsent("t", outcome.completion());
    fake.session->answer(403, "no");
    manager->cancelSubscription(outcome.completion());
    fake.session->failTransport();
    const std::vector<std::optional<NSError>> expected{{}, {}, {}, {}, rejection(403, "no", "no")};
    EXPECT_EQ(outcome.calls, expected);
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
    EXPECT_EQ(perform(404, "x").error, rejection(404, "x", "x"));
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
