#import "Fixture.h"

extern "C" void hostFailed(const char* file, int line, const char* what) {
    ADD_FAILURE_AT(file, line) << what;
}

static BOOL isUnusable(Answer* answer) {
    return answer->came && !answer->record && [[answer->error domain] isEqual:@""] &&
           [answer->error code] == 0 && [[answer->error userInfo] count] == 0;
}

TEST_F(ObjC, beforeInitialize) {
    install();
    Answer* answer = [Answer answer];
    Probe* captured = [[Probe alloc] init];
    [KCSDK getOndemandMetaDataWithCompletionBlock:^(KCSDKOndemandMetaData* data, NSError* error) {
      (void)captured;
      [answer record:data error:error];
    }];
    [captured release];
    CHECK(![answer waitSeconds:0.2]);
    CHECK([Probe alive] == 0);
    CHECK([KCSDK shared] && [KCSDK shared] == [KCSDK shared]);
    CHECK(![KCSDK shared].networkManager);
    CHECK_TEXT([KCSDKNetworkManager shared].sdkConfig.baseURL, @"");
    CHECK(![KCSDKDevice installWithApplicationName:nil
                                        dataFolder:nil
                              certificateAuthority:nil
                                             media:NO]);  // in use by now
}

TEST_F(ObjC, unusableBaseURL) {
    install();
    [KCSDK initializeWithConfig:makeConfig(@"no address")];
    Answer* consent = [Answer answer];
    [KCSDK getConsentWithCompletionBlock:[consent block]];
    CHECK(isUnusable(consent));

    // An argument that is not there is told in the same way, whatever the address.
    [KCSDKNetworkManager shared].sdkConfig = makeConfig(text(service.baseURL()));
    Answer* search = [Answer answer];
    Answer* active = [Answer answer];
    [KCSDK getOndemandClassesForCriteriaWith:nil completionBlock:[search block]];
    [KCSDK activateSubscriptionWithSubscription:nil completionBlock:[active errorBlock]];
    CHECK(isUnusable(search) && isUnusable(active));
}

/// One request each, in this order.
TEST_F(ObjC, everyOperation) {
    install();
    KCSDKConfig* config = makeConfig(text(service.baseURL()));
    CHECK_TEXT(config.countryCode, @"");
    [KCSDK initializeWithConfig:nil];
    CHECK(![KCSDK shared].networkManager);
    [KCSDK initializeWithConfig:config];
    CHECK_TEXT(config.countryCode, @"DE");
    CHECK([KCSDK shared].networkManager == [KCSDKNetworkManager shared]);
    [KCSDKNetworkManager shared].sdkConfig = nil;
    CHECK([KCSDKNetworkManager shared].sdkConfig == config);
    logIn();

    NSArray* consents =
        recordOf([](Answer* answer) { [KCSDK getConsentWithCompletionBlock:[answer block]]; });
    KCSDKConsent* consent = [consents objectAtIndex:0];
    CHECK([[consent.urls objectAtIndex:0] isKindOfClass:[LinkDetail class]]);
    recordOf([&](Answer* answer) {
        [KCSDK acceptConsentWithTag:consent.consentTag completionBlock:[answer errorBlock]];
    });
    NSString* tag = nil;
    for (const int64_t most : {0, 5}) {
        NSArray* collections = recordOf([&](Answer* answer) {
            [KCSDK getOndemandCollectionsWithCollectionId:tag
                                               maxResults:most
                                          completionBlock:[answer block]];
        });
        tag = [[collections objectAtIndex:0] collectionTag];
    }
    classesPage();
    CHECK(!classDetails(@"99999"));  // neither record nor error
    recordOf([](Answer* answer) {
        [KCSDK getOndemandClassesWithPage:2
                                 pageSize:3
                                     sort:@""
                                    order:@"desc"
                          completionBlock:[answer block]];
    });
    KCSDKOndemandMetaData* data = recordOf(
        [](Answer* answer) { [KCSDK getOndemandMetaDataWithCompletionBlock:[answer block]]; });
    CHECK([[[data.language objectAtIndex:0] text] length] > 0);
    CHECK(data.duration.max > data.duration.min);
    KCSDKOndemandFilterRequest* filter = [[[KCSDKOndemandFilterRequest alloc] init] autorelease];
    CHECK(filter.skip == 0 && filter.take == 100 && !filter.query);
    filter.take = 5;
    filter.keywords = @"";
    KCSDKOndemandSearchResult* result = recordOf([&](Answer* answer) {
        [KCSDK getOndemandClassesForCriteriaWith:filter completionBlock:[answer block]];
    });
    KCSDKSearchItem* item = [result.items objectAtIndex:0];
    CHECK(item.virtualClass && item.virtualClass == item.virtualClass);
    KCSDKUserSubscriptionRequest* subscription = [[[KCSDKUserSubscriptionRequest alloc]
        initWithStartDate:[NSDate dateWithTimeIntervalSince1970:1711843200.123]
           subscriptionId:@"gold"] autorelease];
    CHECK([subscription.start rangeOfString:@":00.123"].length == 7);
    recordOf([&](Answer* answer) {
        [KCSDK activateSubscriptionWithSubscription:subscription
                                    completionBlock:[answer errorBlock]];
    });
    recordOf(
        [](Answer* answer) { [KCSDK cancelSubscriptionWithCompletionBlock:[answer errorBlock]]; });
    [KCSDK getConsentWithCompletionBlock:nil];

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

TEST_F(ObjC, refusedTwice) {
    setUp();
    for (int i = 0; i < 2; ++i) {
        Answer* answer = [Answer answer];
        NSAutoreleasePool* inner = [[NSAutoreleasePool alloc] init];
        Probe* captured = [[[Probe alloc] init] autorelease];
        [KCSDK
            getOndemandMetaDataWithCompletionBlock:^(KCSDKOndemandMetaData* data, NSError* error) {
              CHECK(captured);
              [answer record:data error:error];
            }];
        [inner release];
        CHECK([answer wait] && !answer->record);
        CHECK_TEXT([answer->error domain], @"SDK");
        CHECK([answer->error code] == 401);
        NSString* message = [[answer->error userInfo] objectForKey:@"message"];
        CHECK([message length] > 0);
        CHECK_TEXT([[answer->error userInfo] objectForKey:@"data"],
                   [message dataUsingEncoding:NSUTF8StringEncoding]);
    }
    CHECK_TURN([Probe alive] == 0);
}
