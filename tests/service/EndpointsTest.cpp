#include <service/Codes.h>
#include <service/ContentService.h>

#include <gtest/gtest.h>
#include <httplib.h>
#include <nlohmann/json.hpp>
#include <set>

namespace korvel::service {
namespace {

using nlohmann::json;

const std::string type = "application/json";

httplib::Headers clientHeaders(const ContentService& service) {
    const auto& options = service.options();
    return {{"Authorization", basicCredential(options.apiKey, options.secretKey)},
            {"TenantID", options.tenant}};
}

httplib::Headers userHeaders(const ContentService& service, const std::string& code) {
    return {{"Authorization", "Bearer " + code}, {"TenantID", service.options().tenant}};
}

class EndpointsTest : public testing::Test {
protected:
    EndpointsTest() { client_.set_ca_cert_path(service_.caFile().c_str()); }

    json get(const std::string& target, const httplib::Headers& headers, int status = 200) {
        return body(client_.Get(target, headers), status);
    }
    json get(const std::string& target, int status = 200) {
        return get(target, clientHeaders(service_), status);
    }
    static json body(const httplib::Result& result, int status) {
        EXPECT_TRUE(result) << to_string(result.error());
        if (!result) return {};
        EXPECT_EQ(result->status, status) << result->body;
        json document = json::parse(result->body, nullptr, false);
        EXPECT_TRUE(status == 200 || document.at("status") == status);
        return document;
    }

    ContentService service_{ContentService::Options{.tenant = "höhle"}};
    httplib::SSLClient client_{"localhost", service_.port()};
};

TEST_F(EndpointsTest, WrongCredentialsOrTenantAreRefusedEverywhere) {
    const auto client = clientHeaders(service_);
    const auto user = userHeaders(service_, service_.accounts().logIn("anna").code);
    const auto with = [](httplib::Headers headers, const char* name, const char* value) {
        headers.erase(name);
        headers.emplace(name, value);
        return headers;
    };
    for (const char* target : {"/ondemand/v1/consent", "/ondemand/v1/collections/",
                               "/ondemand/v1/classes/", "/ondemand/v1/token/50122"}) {
        for (const auto& headers : {httplib::Headers{}, user, with(client, "TenantID", "cave"),
                                    with(client, "Authorization", "Basic eDp5")})
            get(target, headers, 401);
    }
    for (const char* target : {"/api/v1/users/ondemand/metadata", "/ondemand/v1/perform/50122"}) {
        for (const auto& headers : {httplib::Headers{}, client, with(user, "TenantID", ""),
                                    with(user, "Authorization", "Bearer ")})
            get(target, headers, 401);
    }
    get("/ondemand/v1/token/50122", client, 401);
    auto module = with(with(client, "TenantID", "lanterns"), "ModId", "ios");
    EXPECT_FALSE(get("/ondemand/v1/token/50122", module)["token"].get<std::string>().empty());
    get("/ondemand/v1/nothing", client, 404);
}

TEST_F(EndpointsTest, PagesHoldEveryClassOnceAndSearchesFindTheirs) {
    std::set<std::string> tags;
    for (int page = 1; page <= 7; ++page) {
        const json got =
            get("/ondemand/v1/classes/?filterBy=date&orderBy=desc&pageSize=10&pageNumber=" +
                std::to_string(page));
        EXPECT_EQ(got["itemsRemaining"], std::max(0, 66 - 10 * page));
        for (const json& each : got["items"]) {
            EXPECT_TRUE(tags.insert(each["tag"]).second);
            EXPECT_FALSE(each.contains("streamingLink")) << "the stream comes with performing";
        }
    }
    EXPECT_EQ(tags.size(), 66u);
    EXPECT_EQ(get("/ondemand/v1/classes/?pageSize=5&pageNumber=0"),
              get("/ondemand/v1/classes/?filterBy=alpha&orderBy=asc&pageSize=5&pageNumber=1"));
    const std::vector<std::pair<json, std::string>> searches{
        {{{"keywords", "ÜBUNGEN kraft"}}, "50103"},
        {{{"type", "Yoga"}, {"classLanguage", "ja,中文"}}, "50120"},
        {{{"duration", "60-90"}, {"sort", "duration"}, {"dir", "desc"}}, "50138"}};
    for (auto [criteria, first] : searches) {
        criteria.update({{"skip", 0}, {"take", 1}});
        const json found = body(
            client_.Post("/ondemand/v1/filter", clientHeaders(service_), criteria.dump(), type),
            200);
        EXPECT_EQ(found["items"].at(0)["classTag"], first) << criteria;
    }
}

TEST_F(EndpointsTest, IncompleteAndForeignRecordsAreRefused) {
    const User anna = service_.accounts().logIn("anna");
    const auto user = userHeaders(service_, anna.code);
    const std::pair<const char*, json> posts[] = {
        {"consent", {{"consentTag", "privacy-2024"}, {"action", 2}, {"userId", "another"}}},
        {"consent", {{"consentTag", "privacy-2024"}, {"action", 3}, {"userId", anna.id}}},
        {"ondemandtracking", {{"contentID", "50122"}, {"userId", anna.id}}}};
    for (const auto& [target, sent] : posts) {
        body(client_.Post(std::string("/ondemand/v1/") + target, user, sent.dump(), type), 400);
    }
    body(client_.Put("/ondemand/v1/activatesubscription", user, R"({"start":"x"})", type), 400);
    EXPECT_TRUE(service_.accounts().performances().empty());

    service_.accounts().acceptConsent("anna", "privacy-2024");
    get("/ondemand/v1/perform/50122", user, 403);
    service_.accounts().setSubscription("anna", Subscription{"now", "gold"});
    get("/ondemand/v1/perform/1", user, 404);
}

}  // namespace
}  // namespace korvel::service
