#include "support/TemporaryFolder.h"

#include "Scenarios.h"

#include <service/ContentService.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <string>
#include <thread>
#include <vector>

void hostFailed(const char* file, int line, const char* what) {
    ADD_FAILURE_AT(file, line) << what;
}

namespace korvel::tests {

namespace {

/// A host in Objective-C against a service of its own; each in a process of its own, linked as
/// hosts are. What it checks fails here.
class ObjC : public testing::Test {
protected:
    ObjC() { GTEST_FLAG_SET(death_test_style, "threadsafe"); }
    void run(void (*scenario)(const Service*)) {
        const std::string url = service.baseURL();
        const std::string authority = service.caFile().string();
        const std::string data = (folder / "data").string();
        const Service where{url.c_str(), authority.c_str(), data.c_str()};
        runHost(scenario, &where);
    }

    service::ContentService service;
    TemporaryFolder folder;
};

#define HOST(name) \
    TEST_F(ObjC, name) { run(::name); }
HOST(beforeInitialize)
HOST(unusableBaseURL)
HOST(refusedTwice)
HOST(recordIdentity)
HOST(recordValues)
HOST(everyProperty)
HOST(observedProperties)
HOST(unusableValues)
HOST(coreObjects)
HOST(sameRecordsOnManyThreads)
HOST(look)
HOST(fullScreenWithoutWindow)
HOST(ownOverlay)
HOST(silentListener)
HOST(mainQueueThreads)
HOST(manyRequests)

TEST_F(ObjC, everyOperation) {
    run(::everyOperation);
    ASSERT_TRUE(service.waitForRequests(13));
    std::vector<std::string> lines;
    for (const auto& each : service.requests()) lines.push_back(each.method + " " + each.target);
    const std::vector<std::string> expected{
        "POST /oauth/sdk/login",
        "GET /ondemand/v1/consent",
        "POST /ondemand/v1/consent",
        "GET /ondemand/v1/collections/",
        lines[4],
        "GET /ondemand/v1/classes/?filterBy=alpha&orderBy=asc&pageSize=20&pageNumber=1",
        "GET /ondemand/v1/classes/"
        "?filterBy=alpha&orderBy=asc&pageSize=20&pageNumber=1&classId=99999",
        "GET /ondemand/v1/classes/?filterBy=&orderBy=desc&pageSize=3&pageNumber=2",
        "GET /api/v1/users/ondemand/metadata",
        "POST /ondemand/v1/filter",
        "PUT /ondemand/v1/activatesubscription",
        "PUT /ondemand/v1/revokeaccess",
        "GET /ondemand/v1/consent"};
    EXPECT_EQ(lines, expected);
    EXPECT_TRUE(lines[4].starts_with("GET /ondemand/v1/collections/") &&
                lines[4].ends_with("?maxResults=5"))
        << lines[4];
    EXPECT_EQ(service.requests()[9].body, R"({"keywords":"","skip":0,"take":5})");
}

TEST_F(ObjC, consentSubscriptionAndPlay) {
    run(::consentSubscriptionAndPlay);
    const auto recorded = [&] { return service.accounts().performances(); };
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(10);
    while (recorded().empty() && std::chrono::steady_clock::now() < end) {
        std::this_thread::sleep_for(std::chrono::milliseconds(5));  // it goes out in the background
    }
    const auto performances = recorded();
    ASSERT_EQ(performances.size(), 1U);
    EXPECT_NE(performances[0].json.find(R"("contentID":"50102")"), std::string::npos);
    EXPECT_FALSE(service.accounts().user("anna")->subscription);
    EXPECT_TRUE(std::ranges::any_of(service.requests(), [](const auto& request) {
        return request.target == "/ondemand/v1/token/50122";  // the stream's keys were asked for
    }));
}

TEST_F(ObjC, initThatIsNotThereEndsTheProcess) {
    for (const char* name :
         {"KCSDK", "KCSDKNetworkManager", "KCSDKConfig", "KCSDKOndemandClass",
          "KCSDKOndemandMetaData", "KCSDKConsent", "KCSDKUserSubscriptionRequest",
          "KCSDKOndemandContentToken", "KCSDKPlayerViewModel", "KCSDKPlayerEvents",
          "KCSDKVideoViewBuilder", "KCSDKPlayerOverlay", "KCSDKPlayerView"}) {
        EXPECT_DEATH(callInit(name), std::string("unimplemented initializer 'init\\(\\)' for "
                                                 "class '") +
                                         name + "'");
    }
}

TEST_F(ObjC, whatAHostThrowsEndsTheProcessWithItsReason) {
    EXPECT_DEATH(run(::throwInCompletion), "thrown in a completion");
    EXPECT_DEATH(run(::throwInListener), "thrown in a listener");
}

}  // namespace

}  // namespace korvel::tests
