#include "network/Fixture.h"

#include <regex>

namespace korvel::tests {
namespace {

class Events : public NetworkTest {
protected:
    const std::string full =
        R"(,"classCategories":"Cardio","providerID":"7","provider":"","calorieBurn":1)";
};

TEST_F(Events, CollectionListingNamesTheFirstCollectionOnlyWhenOneWasAskedFor) {
    const std::string collection =
        R"([{"collectionType":"t","collectionName":"Top","collectionTag":"c1","creationDate":"","itemCount":2}])";
    const std::string name = "View On Demand Collection Listing ";
    const std::string none = name + "{Collection ID: N/A, Collection Name: N/A}";
    struct Row {
        std::optional<std::string> id;
        int status;
        std::optional<std::string> body;
        std::vector<std::string> events;
    };
    for (const auto& [id, status, body, events] : std::vector<Row>{
             {std::nullopt, 200, collection, {none}},
             {"c1", 200, collection, {name + "{Collection ID: c1, Collection Name: Top}"}},
             {"c1", 201, "[]", {none}},
             {"c1", 200, "junk", {none}},
             {"c1", 500, std::nullopt, {none}},
             {"c1", 404, "", {}},
             {std::nullopt, 500, collection, {}}}) {
        fake.journal->takeLines();
        manager->getOndemandCollections(id, 0, {});
        fake.session->answer(status, body);
        EXPECT_EQ(fake.events(), events) << id.value_or("(all)") << " " << status;
    }
}

TEST_F(Events, ClassListingIsTaggedForTheFirstPagesWhateverBecomesOfTheRequest) {
    for (const std::int64_t page : {-1, 0, 1, 2, 3}) {
        manager->getOndemandClasses(page, 10, "alpha", {}, {});
        fake.session->failTransport();
    }
    EXPECT_EQ(fake.events(),
              std::vector<std::string>(3,
                                       "View On Demand Class Listing {Search Text: N/A, "
                                       "Duration: N/A, Provider: N/A, keywords: N/A}"));
    const auto lines = fake.journal->lines();
    EXPECT_EQ(std::count(lines.begin(), lines.end(), "upload"), 3) << "each at once";
}

TEST_F(Events, ClassEventsCarryTheFirstClassIfThereIsOne) {
    Told<std::shared_ptr<KCSDKOndemandClass>> host;
    manager->getOndemandClassDetails("c", host.completion());
    fake.session->answer(200, pageJSON(classJSON("c", full) + "," + classJSON("d")));
    EXPECT_EQ(host.calls.at(0).value->tag, "c");
    manager->getOndemandClassDetails("c", host.completion());
    fake.session->answer(200, pageJSON(""));
    EXPECT_EQ(host.calls.at(1).value, nullptr);
    EXPECT_EQ(host.calls.at(1).error, std::nullopt);
    manager->performClass("c", {});
    fake.session->answer(200, "[" + classJSON("c") + "]");
    manager->sendClassPerformance(*decoded<KCSDKOndemandClass>(classJSON("c", full)), 61);
    const std::string start = "{Class ID: c, Class Name: Name c, Class Duration: 1800, ";
    EXPECT_EQ(fake.events(),
              (std::vector<std::string>{
                  "View On Demand Class Detail " + start + "Provider ID: 7, Provider Name: }",
                  "On Demand Class Started " + start +
                      "Class Category: N/A, Provider ID: N/A, Provider Name: N/A}",
                  "On Demand Class Performed " + start +
                      "Class Category: Cardio, Provider ID: 7, Provider Name: , "
                      "Play Duration: 61}"}));
}

TEST_F(Events, LogInOfAVanishedManagerNamesNoClient) {
    manager->startSession("anna", {});
    fake.clock->advance(*fake.mainQueue, std::chrono::milliseconds(500));
    manager.reset();
    fake.session->answer(200, R"({"Username":"a","UserId":"1","Code":"c"})");
    EXPECT_EQ(fake.events().at(0), "User Login {Client ID: NA, User ID: 1}");
}

TEST_F(Events, PerformanceIsPrintedThenTaggedThenSent) {
    fake.keychain->put("userId", "u1");
    manager->sendClassPerformance(*decoded<KCSDKOndemandClass>(classJSON("c/1", full)), 0);
    ASSERT_EQ(fake.session->requests.size(), 1u);
    const std::regex body(
        R"re(\{"performDate":"[^"]+","providerName":"","playedDurationSecond":1800,"requestsource":5,)re"
        R"re("contentID":"c\\/1","actualDurationSecond":0,"contentName":"Name c\\/1","userId":"u1",)re"
        R"re("subscriptiontag":"","ID":"u1-c\\/1--[0-9.]+e-[0-9]+"\})re");
    EXPECT_TRUE(std::regex_match(sentBody(), body)) << sentBody();
    const auto journal = fake.journal->lines();
    ASSERT_EQ(journal.size(), 5u);  // two reads of the keychain come first
    EXPECT_EQ(journal[2], "KCSDKOndemandResultRequest " + sentBody());
    EXPECT_TRUE(journal[3].starts_with("tagEvent On Demand Class Performed"));
    fake.session->answer(500, "ignored");
    EXPECT_EQ(fake.console->lines().back(), "statusCode: 500");

    fake.keychain->fail(platform::errSecItemNotFound);
    manager->sendClassPerformance(*decoded<KCSDKOndemandClass>(classJSON("c")), 5);
    EXPECT_NE(sentBody().find(R"("userId":"","subscriptiontag":"","ID":"-c--)"), std::string::npos);
}

}  // namespace
}  // namespace korvel::tests
