#include "network/Fixture.h"

#include <korvel/network/KCSDKMultipartForm.h>

#include <regex>

namespace korvel::tests {
namespace {

using namespace std::chrono_literals;

class Session : public NetworkTest {
protected:
    std::vector<std::optional<NSError>> told;  ///< to the host

    void startSession(const std::string& userName = "anna") {
        manager->startSession(userName, [this](auto error) { told.push_back(error); });
        fake.clock->advance(*fake.mainQueue, 500ms);
    }
};

TEST_F(Session, LogInWaitsHalfASecondOnTheMainQueueButIsFixedAtTheCall) {
    manager->startSession("anna", {});
    config->apiKey = "changed";
    fake.clock->advance(*fake.mainQueue, 499ms);
    EXPECT_TRUE(fake.session->requests.empty());
    fake.clock->advance(*fake.mainQueue, 1ms);
    ASSERT_EQ(fake.session->requests.size(), 1u);
    EXPECT_EQ(sent().value("Authorization"), "Basic a2V5OnNlY3JldA==");
    EXPECT_EQ(sentBody().find("changed"), std::string::npos);
}

TEST_F(Session, LogInSendsTheFormAndItsHeaders) {
    config->baseURL = "https://h/api?x=1";
    config->countryCode = "AT";
    fake.locale->chosenLanguages = {"de-AT", "en", "fr", "ja", "es", "it", "pt", "nl"};
    startSession("anna\xff\r\n");
    EXPECT_EQ(sent().method, "POST");
    EXPECT_EQ(sent().url.absoluteString(), "https://h/api/oauth/sdk/login?x=1");
    EXPECT_EQ(sent().value("Accept-Encoding"), "gzip;q=1.0, compress;q=0.5");
    EXPECT_EQ(sent().value("Accept-Language"),
              "de-AT;q=1.0, en;q=0.9, fr;q=0.8, ja;q=0.7, es;q=0.6, it;q=0.5");
    EXPECT_EQ(sent().value("User-Agent"), "Korvel/1.0(iOS 13.0)");
    EXPECT_EQ(sent().value("Content-Length"), std::to_string(sentBody().size()));
    EXPECT_EQ(sent().value("TenantID"), "tenant");
    EXPECT_EQ(sent().headers().size(), 7u) << "with Authorization and Content-Type, and no others";

    std::smatch boundary;
    const auto type = sent().value("Content-Type").value();
    ASSERT_TRUE(std::regex_match(
        type, boundary,
        std::regex("multipart/form-data; boundary=(KorvelContentSDK\\.boundary\\.[0-9a-f]{16})")));
    const auto delimiter = "--" + boundary[1].str() + "\r\n";
    const auto part = [&](const std::string& name, const std::string& value) {
        return delimiter + "Content-Disposition: form-data; name=\"" + name + "\"\r\n\r\n" + value +
               "\r\n";
    };
    std::size_t size = delimiter.size();
    for (const auto& each :
         {part("username", "anna\uFFFD\r\n"), part("password", ""), part("firstname", ""),
          part("lastname", ""), part("skipConsent", "true"), part("response_type", "token"),
          part("redirect_uri", "https://h/api?x=1"), part("scope", "openid"),
          part("tenantId", "tenant"), part("client_id", "key"), part("countrycode", "AT")}) {
        EXPECT_NE(sentBody().find(each), std::string::npos) << each;
        size += each.size();
    }
    EXPECT_EQ(sentBody().size(), size) << "and nothing else";
    EXPECT_TRUE(sentBody().ends_with("\r\n" + delimiter)) << "one more plain delimiter line";
    startSession();
    EXPECT_NE(sent().value("Content-Type"), type) << "a new boundary for each log-in";
}

TEST_F(Session, UserIsStoredThenIdentifiedThenTaggedThenTheHostIsTold) {
    manager->startSession("anna",
                          [&](auto error) { fake.journal->add(error ? "error" : "completed"); });
    fake.clock->advance(*fake.mainQueue, 500ms);
    config->tenantID = "later";
    fake.session->answer(401, R"({"Username":"anna","UserId":"42","Code":"abc","X":{}})");
    EXPECT_EQ(fake.journal->lines(),
              (std::vector<std::string>{
                  "statusCode: 401", "delete token=abc", "add token=abc", "delete userId=42",
                  "add userId=42", "delete userName=anna", "add userName=anna",
                  "delete expiryTime=0.0", "add expiryTime=0.0", "setCustomerId 42",
                  "tagEvent User Login {Client ID: later, User ID: 42}", "upload", "completed"}));
}

TEST_F(Session, AnswerThatIsNoUserStoresNothingAndKeepsTheLastSession) {
    for (const auto* body : {"", "garbage", R"({"Username":"b","UserId":"2"})"}) {
        startSession();
        fake.session->answer(500, body);
    }
    EXPECT_EQ(fake.journal->takeLines(), std::vector<std::string>(3, "statusCode: 500"));
    EXPECT_EQ(told, std::vector<std::optional<NSError>>(3));
    startSession();
    fake.session->answer(200, std::nullopt);
    EXPECT_EQ(told.size(), 3u) << "silence without a body object";
    EXPECT_TRUE(fake.journal->lines().empty());
}

TEST_F(Session, FormOfNoFieldsIsEmptyAndOfAnEmptyMapOneDelimiter) {
    const KCSDKMultipartForm form;
    const auto delimiter = "--" + form.boundary + "\r\n";
    EXPECT_EQ(form.body(std::nullopt), platform::Data());
    EXPECT_EQ(form.body(KCSDKMultipartForm::TextFields{}), platform::bytesOf(delimiter));
    EXPECT_EQ(form.body(KCSDKMultipartForm::TextFields{{"q\"", "\xff"}, {"r", form.boundary}}),
              platform::bytesOf(delimiter + "Content-Disposition: form-data; name=\"q\"\"\r\n\r\n" +
                                delimiter + "Content-Disposition: form-data; name=\"r\"\r\n\r\n" +
                                form.boundary + "\r\n" + delimiter));
}

}  // namespace
}  // namespace korvel::tests
