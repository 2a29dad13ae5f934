#include "Fixture.h"

#include <optional>
#include <set>

namespace korvel::tests {

using nlohmann::json;

TEST_F(CommandLine, EveryCommandWritesItsRecordsAsOneDocument) {
    const struct {
        Arguments arguments;
        const char* pointer;
        json expected;
    } rows[] = {
        {{"login", "berta"}, "", {{"userName", "berta"}, {"loggedIn", true}}},
        {{"collections"}, "/5/collectionTag", "rowing"},
        {{"collections", "hiit", "--max", "1"}, "/0/collectionItems/0/tag", "50145"},
        {{"classes", "--page", "2", "--page-size", "3"}, "/itemsRemaining", 60},
        {{"classes", "--sort", "duration", "--order", "desc"}, "/items/0/durationMinutes", "90"},
        {{"class", "50102"}, "/className", "Kurzhantel-Grundkurs für Anfänger"},
        {{"metadata"}, "/language/2", {{"text", "日本語"}, {"value", "ja"}}},
        {{"search", "--keywords", "yoga", "--take", "3"}, "/itemsRemaining", 6},
        {{"consent"}, "/0/consentTag", "privacy-2024"},
        {{"accept", "privacy-2024"}, "", {{"consentTag", "privacy-2024"}, {"accepted", true}}},
        {{"cancel"}, "", {{"cancelled", true}}},
        {{"subscribe", "gold", "--start", "2024-03-31T01:00:00+0100"},
         "",
         {{"start", "2024-03-31T00:00:00.000+0000"}, {"subscriptionId", "gold"}}},
    };
    for (auto [arguments, pointer, expected] : rows) {
        SCOPED_TRACE(arguments.front());
        arguments.insert(arguments.begin(), "--json");
        const auto ended = run(arguments);
        EXPECT_EQ(ended.code, 0);
        EXPECT_EQ(ended.errors, "");
        const auto document = json::parse(ended.output, nullptr, false);
        ASSERT_FALSE(document.is_discarded()) << ended.output;
        const json::json_pointer place(pointer);
        ASSERT_TRUE(document.contains(place)) << ended.output;
        EXPECT_EQ(document.at(place), expected);
    }
    const auto anna = service.accounts().user("anna");
    ASSERT_TRUE(anna && anna->subscription);
    EXPECT_EQ(anna->acceptedConsents, std::set<std::string>{"privacy-2024"});
    EXPECT_EQ(anna->subscription->subscriptionId, "gold");
}

TEST_F(CommandLine, EveryCriterionOfASearchReachesTheService) {
    run({"search", "--keywords", "k",  "--query",    "q",    "--type",      "t",    "--language",
         "l",      "--provider", "p",  "--duration", "1-2",  "--intensity", "3",    "--equipment",
         "e",      "--level",    "-4", "--sort",     "date", "--dir",       "desc", "--skip",
         "5",      "--take",     "7"});
    ASSERT_EQ(service.requests().size(), 1U);
    EXPECT_EQ(json::parse(service.requests()[0].body, nullptr, false),
              json::parse(R"({"keywords": "k", "query": "q", "type": "t", "classLanguage": "l",
                              "provider": "p", "duration": "1-2", "intensity": "3",
                              "equipment": "e", "level": "-4", "sort": "date", "dir": "desc",
                              "skip": 5, "take": 7})"));
}

TEST_F(CommandLine, FailuresHaveTheirExitCodeAndSayWhy) {
    const ContentService stranger;
    const struct {
        Arguments arguments;
        int code;
        std::string reason;
        std::optional<Answer> answer{};
        Arguments environment{};
    } rows[] = {
        {{"clases", "--page", "2"}, 2, "no command 'clases', did you mean 'classes'?"},
        {{"search", "--durtion=5"}, 2, "no option '--durtion', did you mean '--duration'?"},
        {{"help", "xyz"}, 2, "no command 'xyz'\n"},
        {{"consent", "more"}, 2, "'more' is more than \"consent\" takes"},
        {{"search", "--duration", "abc"}, 2, "'abc' is no range such as 20, 10-30, -30 or 30-"},
        {{"search", "--level", "3-2"}, 2, "--level: '3-2'"},
        {{"classes", "--sort", "foo"}, 2, "none of alpha, date, duration, intensity, calories"},
        {{"classes", "--page", "-1"}, 2, "'-1' is no whole number from 1 on"},
        {{"metadata"}, 8, "not an absolute address: 'https:/x'", {}, {"KORVEL_URL=https:/x"}},
        {{"class", ""}, 2, "must not be empty"},
        {{"subscribe", "x", "--start", "2024-04-31"}, 2, "'2024-04-31' is no date"},
        {{"subscribe", "x", "--start", "24-04-30"}, 2, "'24-04-30' is no date"},
        {{"subscribe", "x", "--start", "2500-01-01"}, 2, "'2500-01-01' is no date"},
        {{"classes"}, 3, "answered 401: go away", Answer{.status = 401, .body = "go away"}},
        {{"consent"}, 3, "the service answered 500\n", Answer{.status = 500}},
        {{"accept", "nothing"}, 3, "answered 404: no such document"},
        {{"classes", "--timeout", "0.3"}, 4, "no answer from https://", Answer{.hold = true}},
        {{"login", "anna", "--timeout", "0.1"}, 4, "within 0.1 s"},
        {{"consent"}, 5, "connection was refused", {}, {"KORVEL_URL=https://localhost:1/"}},
        {{"consent"}, 5, "not trusted", {}, {"KORVEL_CA=" + stranger.caFile().string()}},
        {{"consent"}, 5, "lost", Answer{.cutOffAfter = 0}},
        {{"classes"}, 6, "not understood", Answer{.body = "[]"}},
        {{"class", "x"},
         6,
         "items[0].",
         Answer{.body = R"({"totalItems":1,"itemsRemaining":0,"items":[{}]})"}},
        {{"metadata"}, 7, "needs a user", {}, {"KORVEL_USER="}},
        {{"cancel"},
         7,
         "'anna' is not logged in: the service answered 401: client",
         {},
         {"KORVEL_SECRET_KEY=wrong"}},
        {{"login", "anna"}, 7, "not understood: Username", Answer{.body = "{}"}},
        {{"consent"}, 8, "not an absolute address: 'foo'", {}, {"KORVEL_URL=foo"}},
        {{"consent"}, 8, "KORVEL_URL", {}, {"KORVEL_URL="}},
        {{"class", "nothing"}, 9, "there is no class 'nothing'"},
        {{"consent"}, 1, "data folder /dev/null/x", {}, {"KORVEL_DATA_FOLDER=/dev/null/x"}},
    };
    for (const auto& [arguments, code, reason, answer, variables] : rows) {
        SCOPED_TRACE(reason);
        if (answer) service.script(*answer);
        const auto plain = run(arguments, variables);
        EXPECT_EQ(plain.code, code);
        EXPECT_EQ(plain.output, "");
        EXPECT_NE(plain.errors.find(reason), std::string::npos) << plain.errors;
        service.clearScripts();
        if (code == 2) continue;  // what was meant is not known, and so not the format either

        auto asJSON = arguments;
        asJSON.emplace_back("--json");
        if (answer) service.script(*answer);
        const auto ended = run(asJSON, variables);
        service.clearScripts();
        const auto document = json::parse(ended.output, nullptr, false);
        ASSERT_TRUE(document.contains("error")) << ended.output;
        EXPECT_EQ(document["error"]["exitCode"], code);
        EXPECT_EQ(ended.errors,
                  "korvel: " + document["error"]["message"].get<std::string>() + "\n");
    }
}

TEST_F(CommandLine, TablesKeepTheirColumnsAndThePageWhateverTheScript) {
    service.script(Answer{.status = 200, .body = R"([
        {"collectionTag": "a", "collectionName": "自重トレーニング", "collectionType": "x",
         "creationDate": "2024-01-02T03:04:05.000+0000", "itemCount": 7},
        {"collectionTag": "bc", "collectionName": "Kraft 💪", "collectionType": "x\u001b[31m",
         "creationDate": "", "itemCount": 11},
        {"collectionTag": "d", "collectionName": "e\u0301lan vital sans fin", "collectionType": "",
         "creationDate": "2024", "itemCount": 0}])"});
    EXPECT_EQ(run({"collections"}, {"COLUMNS=46"}).output,
              "TAG  COLLECTION    TYPE    CLASSES  CREATED\n"
              "a    自重トレー…   x             7  2024-01-02\n"
              "bc   Kraft 💪      x [31m       11\n"
              "d    e\u0301lan vital …                0  2024\n");
}

}  // namespace korvel::tests
