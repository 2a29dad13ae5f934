#include "network/Fixture.h"

#include <korvel/model/KCSDKUser.h>

namespace korvel::tests {
namespace {

using platform::Data;

const std::string basic = "Authorization=Basic a2V5OnNlY3JldA==";  // key:secret
const std::string json = "Content-Type=application/json ";

class Endpoints : public NetworkTest {
protected:
    const std::shared_ptr<KCSDKUserSubscriptionRequest> subscription =
        decoded<KCSDKUserSubscriptionRequest>(R"({"start":"s","subscriptionId":"a/b"})");
};

TEST_F(Endpoints, GoOutWithTheirPathMethodHeadersAndBody) {
    fake.keychain->put("token", "code");
    fake.keychain->put("userId", "u1");
    const std::string client = basic + " TenantID=tenant";
    const std::string user = "Authorization=Bearer code TenantID=tenant";
    const std::string paging = "?filterBy=alpha&orderBy=asc&pageSize=";
    struct Row {
        std::function<void()> call;
        std::string method, path, headers, body = "(none)";
    };
    const std::vector<Row> rows{
        {[&] { manager->getConsent({}); }, "GET", "ondemand/v1/consent", client},
        {[&] { manager->acceptConsent("T\xff", {}); }, "POST", "ondemand/v1/consent", json + user,
         "{\"consentTag\":\"T\uFFFD\",\"action\":2,\"userId\":\"u1\"}"},
        {[&] { manager->getOndemandCollections({}, 0, {}); }, "GET", "ondemand/v1/collections/",
         client},
        {[&] { manager->getOndemandCollections({}, -1, {}); }, "GET", "ondemand/v1/collections/",
         client},
        {[&] { manager->getOndemandCollections("abc", 5, {}); }, "GET",
         "ondemand/v1/collections/abc?maxResults=5", client},
        {[&] { manager->getOndemandClasses(2, 10, {}, {}, {}); }, "GET",
         "ondemand/v1/classes/" + paging + "10&pageNumber=2", client},
        {[&] { manager->getOndemandClasses(-1, 0, "", "desc", {}); }, "GET",
         "ondemand/v1/classes/?filterBy=&orderBy=desc&pageSize=0&pageNumber=-1", client},
        {[&] { manager->getOndemandClassDetails("a&b=c", {}); }, "GET",
         "ondemand/v1/classes/" + paging + "20&pageNumber=1&classId=a&b=c", client},
        {[&] { manager->getOndemandMetaData({}); }, "GET", "api/v1/users/ondemand/metadata", user},
        {[&] { manager->getOndemandClassesForCriteria({}, {}); }, "POST", "ondemand/v1/filter",
         json + client, R"({"skip":0,"take":100})"},
        {[&] { manager->activateSubscription(*subscription, {}); }, "PUT",
         "ondemand/v1/activatesubscription", json + user,
         R"({"start":"s","subscriptionId":"a\/b"})"},
        {[&] { manager->cancelSubscription({}); }, "PUT", "ondemand/v1/revokeaccess", user},
        {[&] { manager->getContentToken("50122", {}); }, "GET", "ondemand/v1/token/50122",
         "ModId=ios " + basic + " TenantID=lanterns"},
        {[&] { manager->performClass("c1", {}); }, "GET", "ondemand/v1/perform/c1", user},
    };
    for (const auto& [call, method, path, headers, body] : rows) {
        call();
        EXPECT_EQ(sent().method, method);
        EXPECT_EQ(sent().url.absoluteString(), "https://service.test/" + path);
        EXPECT_EQ(sentHeaders(), headers) << path;
        EXPECT_EQ(sentBody(), body);
        EXPECT_EQ(sent().timeoutInterval, std::chrono::seconds(60));
    }
    EXPECT_EQ(fake.session->requests.size(), rows.size());
    manager.reset();
    for (int each = 0; fake.session->pending() > 0; ++each) {  // for nobody, from nobody
        fake.session->answer(each % 2 ? 200 : 404, "[]");
    }
}

TEST_F(Endpoints, AddressesAreResolvedAsAPageWouldAndFallBackToTheBase) {
    const std::array<std::string, 3> rows[] = {
        {"https://h/api", "c", "https://h/ondemand/v1/perform/c"},
        {"https://h/api/", "c", "https://h/api/ondemand/v1/perform/c"},
        {"https://h/api/?q=1", "a#b", "https://h/api/ondemand/v1/perform/a#b"},
        {"https://h/", "../x", "https://h/ondemand/v1/x"},
        {"https://h/api", "no blanks", "https://h/api"},
        {"https://h/", "\u00FCbung", "https://h/"}};
    for (const auto& [base, tag, address] : rows) {
        config->baseURL = base;
        manager->performClass(tag, {});
        EXPECT_EQ(sent().url.absoluteString(), address) << base << " and " << tag;
    }
}

TEST_F(Endpoints, CredentialsAreReadAnewForEachRequest) {
    const auto authorization = [&] {
        manager->getOndemandMetaData({});
        return sent().value("Authorization");
    };
    EXPECT_EQ(authorization(), std::nullopt);
    fake.keychain->put("token", "one");
    EXPECT_EQ(authorization(), "Bearer one");
    fake.keychain->put("token", "two");
    EXPECT_EQ(authorization(), "Bearer two");
    fake.keychain->put("token", "\xff");
    EXPECT_EQ(authorization(), "Bearer ");
    fake.keychain->fail(platform::errSecIO);
    EXPECT_EQ(authorization(), std::nullopt);

    config->apiKey = "other";
    config->tenantID = "";
    manager->getConsent({});
    EXPECT_EQ(sent().value("Authorization"), "Basic b3RoZXI6c2VjcmV0");
    EXPECT_EQ(sent().value("TenantID"), "");
    config->secretKey = "\xff";
    manager->getConsent({});
    EXPECT_EQ(sent().value("Authorization"), "");
    manager->acceptConsent("t", {});
    EXPECT_EQ(sentBody(), R"({"consentTag":"t","action":2,"userId":""})") << "nobody logged in";
}

TEST_F(Endpoints, FilterPrintsItsBodyThenTagsThenSends) {
    const auto filter = std::make_shared<KCSDKOndemandFilterRequest>();
    filter->keywords = "";
    filter->query = "\"yoga\xff\"";
    filter->skip = -3;
    filter->take = 0;
    manager->getOndemandClassesForCriteria(*filter, {});
    filter->take = 9;
    const std::string body = R"({"keywords":"","skip":-3,"take":0,"query":"\"yoga)"
                             "\uFFFD"
                             R"(\""})";
    EXPECT_EQ(sentBody(), body);
    EXPECT_EQ(fake.journal->lines(),
              (std::vector<std::string>{
                  "jsonData:  " + body,
                  "tagEvent View On Demand Class Listing {Search Text: \"yoga\xff\","
                  " Duration: N/A, Provider: N/A, keywords: }",
                  "upload"}));
}

class BrokenEncoder final : public platform::JSONEncoder {
    std::optional<Data> write(platform::JSONCoding::Writer, const void*,
                              std::string& error) const override {
        error = "broken";
        return std::nullopt;
    }
};

TEST_F(Endpoints, BodiesThatCannotBeEncodedAreLeftOutButTrackingIsNotSent) {
    manager = makeManager(std::make_shared<BrokenEncoder>());
    const std::string line = "Unexpected error: broken.";

    manager->acceptConsent("t", {});
    manager->activateSubscription(*subscription, {});
    EXPECT_EQ(fake.console->lines(), (std::vector{line, line}));
    manager->getOndemandClassesForCriteria(KCSDKOndemandFilterRequest(), {});
    EXPECT_EQ(fake.console->lines().size(), 2u) << "a filter is sent without a word";
    for (const auto& request : fake.session->requests) {
        EXPECT_EQ(request.body, std::nullopt);
        EXPECT_EQ(request.value("Content-Type"), std::nullopt);
    }
    EXPECT_EQ(fake.session->requests.size(), 3u);

    const auto events = fake.events().size();
    manager->sendClassPerformance(*decoded<KCSDKOndemandClass>(classJSON("c")), 1);
    EXPECT_EQ(fake.console->lines().back(), line);
    EXPECT_EQ(fake.session->requests.size(), 3u);
    EXPECT_EQ(fake.events().size(), events);
}

TEST_F(Endpoints, AnAnswerIsARecordAnErrorNothingOrSilence) {
    const std::string page = pageJSON(classJSON("a"));
    auto device = fake.device();
    device.largestAnswer = page.size();
    manager = std::make_shared<KCSDKNetworkManager>(device);
    manager->setSdkConfig(config);
    Told<std::shared_ptr<KCSDKOndemandClassResponse>> host;
    const auto ask = [&](const std::function<void()>& answer) -> std::string {
        const auto before = host.calls.size();
        manager->getOndemandClasses(9, 1, {}, {}, host.completion());
        answer();
        if (host.calls.size() == before) return "silence";
        const auto& [value, error] = host.calls.back();
        return error ? std::to_string(error->code) : value ? value->items.at(0)->tag : "nothing";
    };
    auto& session = *fake.session;
    EXPECT_EQ(ask([&] { session.answer(200, std::nullopt); }), "silence");
    EXPECT_EQ(ask([&] { session.end({}); }), "silence");
    EXPECT_EQ(ask([&] { session.answer(500, std::nullopt); }), "nothing");
    EXPECT_EQ(ask([&] { session.answer(201, page); }), "a");
    // Longer than the device takes, whoever let it through.
    EXPECT_EQ(ask([&] { session.answer(200, page + " "); }), "nothing");
    EXPECT_EQ(ask([&] { session.refuseLength(200); }), "nothing");
    EXPECT_EQ(ask([&] { session.refuseLength(404); }), "404");
    EXPECT_EQ(fake.diagnostics->undecodable,
              std::vector<std::string>(2, "KCSDKOndemandClassResponse : is too long"));
    EXPECT_EQ(fake.diagnostics->started, 7u);
    EXPECT_EQ(fake.diagnostics->ended, 7u);
}

}  // namespace
}  // namespace korvel::tests
