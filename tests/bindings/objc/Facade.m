#import "Host.h"

static BOOL isUnusable(Answer* answer) {
    return answer->came && !answer->record && [[answer->error domain] isEqual:@""] &&
           [answer->error code] == 0 && [[answer->error userInfo] count] == 0;
}

void beforeInitialize(const struct Service* service) {
    installDevice(service, NO);
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

void unusableBaseURL(const struct Service* service) {
    installDevice(service, NO);
    [KCSDK initializeWithConfig:makeConfig(@"no address")];
    Answer* consent = [Answer answer];
    [KCSDK getConsentWithCompletionBlock:[consent block]];
    CHECK(isUnusable(consent));

    // An argument that is not there is told in the same way, whatever the address.
    [KCSDKNetworkManager shared].sdkConfig =
        makeConfig([NSString stringWithUTF8String:service->url]);
    Answer* search = [Answer answer];
    Answer* active = [Answer answer];
    KCSDKOndemandFilterRequest* noFilter = nil;
    KCSDKUserSubscriptionRequest* noSubscription = nil;
    [KCSDK getOndemandClassesForCriteriaWith:noFilter completionBlock:[search block]];
    [KCSDK activateSubscriptionWithSubscription:noSubscription completionBlock:[active errorBlock]];
    CHECK(isUnusable(search) && isUnusable(active));
}

/// One request each, in this order; the test compares what the service received.
void everyOperation(const struct Service* service) {
    installDevice(service, NO);
    KCSDKConfig* config = makeConfig([NSString stringWithUTF8String:service->url]);
    CHECK_TEXT(config.countryCode, @"");
    [KCSDK initializeWithConfig:nil];
    CHECK(![KCSDK shared].networkManager);
    [KCSDK initializeWithConfig:config];
    CHECK_TEXT(config.countryCode, @"DE");
    CHECK([KCSDK shared].networkManager == [KCSDKNetworkManager shared]);
    CHECK([KCSDKNetworkManager shared].sdkConfig == config);
    [KCSDKNetworkManager shared].sdkConfig = nil;
    CHECK([KCSDKNetworkManager shared].sdkConfig == config);
    logIn();

    NSMutableArray* answers = [NSMutableArray array];
    Answer* (^next)(void) = ^{
      [answers addObject:[Answer answer]];
      return (Answer*)[answers lastObject];
    };
    id (^last)(void) = ^{
      CHECK([(Answer*)[answers lastObject] wait]);
      return ((Answer*)[answers lastObject])->record;
    };
    [KCSDK getConsentWithCompletionBlock:[next() block]];
    KCSDKConsent* consent = [last() objectAtIndex:0];
    CHECK([[consent.urls objectAtIndex:0] isKindOfClass:[LinkDetail class]]);
    [KCSDK acceptConsentWithTag:consent.consentTag completionBlock:[next() errorBlock]];
    last();
    [KCSDK getOndemandCollectionsWithCollectionId:nil maxResults:0 completionBlock:[next() block]];
    KCSDKOndemandCollection* collection = [last() objectAtIndex:0];
    [KCSDK getOndemandCollectionsWithCollectionId:collection.collectionTag
                                       maxResults:5
                                  completionBlock:[next() block]];
    last();
    classesPage();
    CHECK(!classDetails(@"99999"));  // neither record nor error
    [KCSDK getOndemandClassesWithPage:2
                             pageSize:3
                                 sort:@""
                                order:@"desc"
                      completionBlock:[next() block]];
    last();
    [KCSDK getOndemandMetaDataWithCompletionBlock:[next() block]];
    KCSDKOndemandMetaData* data = last();
    CHECK([[[data.language objectAtIndex:0] text] length] > 0);
    CHECK(data.duration.max > data.duration.min);
    KCSDKOndemandFilterRequest* filter = [[[KCSDKOndemandFilterRequest alloc] init] autorelease];
    CHECK(filter.skip == 0 && filter.take == 100 && !filter.query);
    filter.take = 5;
    filter.keywords = @"";
    [KCSDK getOndemandClassesForCriteriaWith:filter completionBlock:[next() block]];
    KCSDKSearchItem* item = [[(KCSDKOndemandSearchResult*)last() items] objectAtIndex:0];
    CHECK(item.virtualClass && item.virtualClass == item.virtualClass);
    KCSDKUserSubscriptionRequest* subscription = [[[KCSDKUserSubscriptionRequest alloc]
        initWithStartDate:[NSDate dateWithTimeIntervalSince1970:1711843200.123]
           subscriptionId:@"gold"] autorelease];
    CHECK([subscription.start rangeOfString:@":00.123"].length == 7);
    [KCSDK activateSubscriptionWithSubscription:subscription completionBlock:[next() errorBlock]];
    last();
    [KCSDK cancelSubscriptionWithCompletionBlock:[next() errorBlock]];
    last();
    for (Answer* answer in answers) CHECK(!answer->error && !answer->onMain);
    [KCSDK getConsentWithCompletionBlock:nil];
}

void refusedTwice(const struct Service* service) {
    setUp(service);
    for (int i = 0; i < 2; ++i) {
        Answer* answer = [Answer answer];
        [KCSDK getOndemandMetaDataWithCompletionBlock:[answer block]];
        CHECK([answer wait] && !answer->record);
        CHECK_TEXT([answer->error domain], @"SDK");
        CHECK([answer->error code] == 401);
        NSString* message = [[answer->error userInfo] objectForKey:@"message"];
        CHECK([message length] > 0);
        CHECK_TEXT([[answer->error userInfo] objectForKey:@"data"],
                   [message dataUsingEncoding:NSUTF8StringEncoding]);
    }
}
