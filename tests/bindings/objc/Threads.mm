#import "Fixture.h"

static Answer* onMainQueue(void) {
    Answer* answer = [Answer answer];
    [KCSDKDevice performOnMainQueue:^{
      [answer record:nil error:nil];
    }];
    return answer;
}

@interface Attacher : NSObject {
@public
    Answer* done;
    BOOL attached;
}
@end
@implementation Attacher
- (void)attach {
    NSAutoreleasePool* pool = [[NSAutoreleasePool alloc] init];
    attached = [KCSDKDevice attachMainQueueToRunLoop];
    [done record:nil error:nil];
    [pool release];
}
@end

TEST_F(ObjC, mainQueueThreads) {
    setUp();
    Answer* before = onMainQueue();
    CHECK([before wait] && !before->onMain);  // a thread of the SDK's own drives it

    Attacher* attacher = [[[Attacher alloc] init] autorelease];
    attacher->done = [Answer answer];
    [NSThread detachNewThreadSelector:@selector(attach) toTarget:attacher withObject:nil];
    CHECK([attacher->done wait] && !attacher->attached);
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
