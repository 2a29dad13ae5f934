#import "Fixture.h"

#include <thread>

static Answer* onMainQueue(void) {
    Answer* answer = [Answer answer];
    [KCSDKDevice performOnMainQueue:^{
      [answer record:nil error:nil];
    }];
    return answer;
}

TEST_F(ObjC, mainQueueThreads) {
    setUp();
    Answer* before = onMainQueue();
    CHECK([before wait] && !before->onMain);  // a thread of the SDK's own drives it

    std::thread([] {
        GSRegisterCurrentThread();
        CHECK(![KCSDKDevice attachMainQueueToRunLoop]);
        GSUnregisterCurrentThread();
    }).join();
    CHECK([KCSDKDevice attachMainQueueToRunLoop] && [KCSDKDevice attachMainQueueToRunLoop]);

    Answer* after = onMainQueue();
    Answer* login = [Answer answer];
    [KCSDK startSessionWithUserName:@"anna" completionBlock:[login errorBlock]];
    CHECK(![login waitSeconds:0.8] && !after->came);  // nothing turns
    CHECK([after turn] && after->onMain);
    CHECK([login turn] && !login->onMain && !login->error);
}

TEST_F(ObjC, initThatIsNotThereEndsTheProcess) {
    for (NSString* name in @[
             @"KCSDK", @"KCSDKNetworkManager", @"KCSDKConfig", @"KCSDKOndemandClass",
             @"KCSDKOndemandMetaData", @"KCSDKConsent", @"KCSDKUserSubscriptionRequest",
             @"KCSDKOndemandContentToken", @"KCSDKPlayerViewModel", @"KCSDKPlayerEvents",
             @"KCSDKVideoViewBuilder", @"KCSDKPlayerOverlay", @"KCSDKPlayerView"
         ]) {
        EXPECT_DEATH([[NSClassFromString(name) alloc] performSelector:@selector(init)],
                     std::string("unimplemented initializer 'init\\(\\)' for class '") +
                         [name UTF8String] + "'");
    }
}

TEST_F(ObjC, whatACompletionThrowsEndsTheProcessWithItsReason) {
    const auto hear = [&] {
        setUp();
        [KCSDK getConsentWithCompletionBlock:^(NSArray*, NSError*) {
          [NSException raise:@"host" format:@"thrown in a completion"];
        }];
        [[Answer answer] waitSeconds:10];
    };
    EXPECT_DEATH(hear(), "thrown in a completion");
}
