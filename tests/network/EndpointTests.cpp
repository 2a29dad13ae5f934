#include "network/Fixture.h"

#include <korvel/model/KCSDKUser.h>

namespace korvel::tests {
namespace {

using platform::Data;

const std::string basic = "Authorization=Basic a2V5OnNlY3JldA==";  // key:secret
const std::string json = "Content-Type=application/json ";

class Endpoints : public NetworkTest {};

TEST_F(Endpoints, GoOutWithTheirPathMethodHeadersAndBody) {
    fake.keychain->put("token", "code");
    fake.keychain->put("userId", "u1");
    const auto filter = std::make_shared<KCSDKOndemandFilterRequest>();
    const auto subscription =
        decoded<KCSDKUserSubscriptionRequest>(R"({"start":"s","subscriptionId":"a/b"})");
    const std::string base = "https://service.test/";
    const std::string tenant = " TenantID=tenant";
    const std::string bearer = "Authorization=Bearer code";

    struct Row {
        std::function<void()> call;
        std::string text;
    };
    const std::vector<Row> rows{
        {[&] { manager->getConsent({}); },
         "GET " + base + "ondemand/v1/consent | " + basic + tenant + " | (none)"},
        {[&] { manager->acceptConsent("T\xff", {}); },
         "POST " + base + "ondemand/v1/consent | " + json + bearer + tenant +
             " | {\"consentTag\":\"T\uFFFD\",\"action\":2,\"userId\":\"u1\"}"},
        {[&] { manager->getOndemandCollections({}, 0, {}); },
         "GET " + base + "ondemand/v1/collections/ | " + basic + tenant + " | (none)"},
        {[&] { manager->getOndemandCollections({}, -1, {}); },
         "GET " + base + "ondemand/v1/collections/ | " + basic + tenant + " | (none)"},
        {[&] { manager->getOndemandCollections("abc", 5, {}); },
         "GET " + base + "ondemand/v1/collections/abc?maxResults=5 | " + basic + tenant +
             " | (none)"},
        {[&] { manager->getOndemandClasses(2, 10, {}, {}, {}); },
         "GET " + base +
             "ondemand/v1/classes/?filterBy=alpha&orderBy=asc&pageSize=10&pageNumber=2 | " + basic +
             tenant + " | (none)"},
        {[&] { manager->getOndemandClasses(-1, 0, "", "desc", {}); },
         "GET " + base + "ondemand/v1/classes/?filterBy=&orderBy=desc&pageSize=0&pageNumber=-1 | " +
             basic + tenant + " | (none)"},
        {[&] { manager->getOndemandClassDetails("a&b=c", {}); },
         "GET " + base +
             "ondemand/v1/classes/"
             "?filterBy=alpha&orderBy=asc&pageSize=20&pageNumber=1&classId=a&b=c | " +
             basic + tenant + " | (none)"},
        {[&] { manager->getOndemandMetaData({}); },
         "GET " + base + "api/v1/users/ondemand/metadata | " + bearer + tenant + " | (none)"},
        {[&] { manager->getOndemandClassesForCriteria(*filter, {}); },
         "POST " + base + "ondemand/v1/filter | " + json + basic + tenant +
             R"( | {"skip":0,"take":100})"},
        {[&] { manager->activateSubscription(*subscription, {}); },
         "PUT " + base + "ondemand/v1/activatesubscription | " + json + bearer + tenant +
             R"( | {"start":"s","subscriptionId":"a\/b"})"},
        {[&] { manager->cancelSubscription({}); },
         "PUT " + base + "ondemand/v1/revokeaccess | " + bearer + tenant + " | (none)"},
        {[&] { manager->getContentToken("50122", {}); },
         "GET " + base + "ondemand/v1/token/50122 | ModId=ios " + basic +
             " TenantID=lanterns | (none)"},
        {[&] { manager->performClass("c1", {}); },
         "GET " + base + "ondemand/v1/perform/c1 | " + bearer + tenant + " | (none)"},
    };
    for (const auto& row : rows) {
        row.call();
        EXPECT_EQ(sentText(), row.text);
        EXPECT_EQ(sent().timeoutInterval, std::chrono::seconds(60));
    }
    EXPECT_EQ(fake.session->requests.size(), rows.size());
}

TEST_F(Endpoints, AddressesAreResolvedAsAPageWouldAndFallBackToTheBase) {
    struct Row {
        std::string base, tag, address;
    };
    for (const auto& [base, tag, address] :
         std::vector<Row>{{"https://h/api", "c", "https://h/ondemand/v1/perform/c"},
                          {"https://h/api/", "c", "https://h/api/ondemand/v1/perform/c"},
                          {"https://h/api/?q=1", "a#b", "https://h/api/ondemand/v1/perform/a#b"},
                          {"https://h/", "../x", "https://h/ondemand/v1/x"},
                          {"https://h/api", "no blanks", "https://h/api"},
                          {"https://h/", "\u00FCbung", "https://h/"}}) {
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

TEST_F(Endpoints, UnusableBaseURLFailsAtOnceAndLeavesNoTrace) {
    const auto subscription =
        decoded<KCSDKUserSubscriptionRequest>(R"({"start":"","subscriptionId":""})");
    for (const auto* base : {"", "not a url", "foo", "https://h/\u00FC", "https://h/%zz"}) {
        config->baseURL = base;
        std::vector<std::optional<NSError>> errors;
        const auto note = [&](auto&&... told) {
            errors.push_back(std::get<sizeof...(told) - 1>(std::tuple(told...)));
        };
        manager->startSession("anna", note);
        manager->getConsent(note);
        manager->acceptConsent("t", note);
        manager->getOndemandCollections({}, 0, note);
        manager->getOndemandClasses(1, 1, {}, {}, note);
        manager->getOndemandClassDetails("t", note);
        manager->getOndemandMetaData(note);
        manager->getOndemandClassesForCriteria(KCSDKOndemandFilterRequest(), note);
        manager->activateSubscription(*subscription, note);
        manager->cancelSubscription(note);
        manager->getContentToken("t", note);
        manager->performClass("t", note);
        manager->sendClassPerformance(*decoded<KCSDKOndemandClass>(classJSON("c")), 1);
        EXPECT_EQ(errors, std::vector<std::optional<NSError>>(12, NSError{"", 0, {}})) << base;
    }
    fake.clock->advance(*fake.mainQueue, std::chrono::seconds(1));
    EXPECT_TRUE(fake.session->requests.empty());
    EXPECT_TRUE(fake.events().empty());
    EXPECT_TRUE(fake.console->lines().empty());
    EXPECT_EQ(KCSDKNetworkManager(fake.device()).sdkConfig()->baseURL, "");
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
    EXPECT_EQ(*fake.journal, (std::vector<std::string>{
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
    const auto subscription =
        decoded<KCSDKUserSubscriptionRequest>(R"({"start":"","subscriptionId":""})");
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

}  // namespace
}  // namespace korvel::tests
