// A host outside this tree, in Objective-C alone: an evening with a service that is told by its
// arguments, on the main thread's run loop. The class's performance is at the service in the end.
#import <KorvelContentSDK/KorvelContentSDK.h>
#include <stdio.h>
#include <stdlib.h>

static void require(BOOL condition, const char* what) {
    if (condition) return;
    fprintf(stderr, "host: %s\n", what);
    exit(EXIT_FAILURE);
}

/// Turns the run loop until `done`, which completions make true on other threads.
static void turnUntil(BOOL (^done)(void), const char* what) {
    NSDate* end = [NSDate dateWithTimeIntervalSinceNow:30];
    while (!done()) {
        NSAutoreleasePool* pool = [[NSAutoreleasePool alloc] init];
        require([end timeIntervalSinceNow] > 0, what);
        [[NSRunLoop currentRunLoop] runMode:NSDefaultRunLoopMode
                                 beforeDate:[NSDate dateWithTimeIntervalSinceNow:0.02]];
        [pool release];
    }
}

// clang-format off
#define TURN_UNTIL(condition, what) turnUntil(^BOOL { return (condition); }, what)
// clang-format on

@interface Listener : NSObject <KCSDKPlayerEventsListner> {
@public
    float position;
    int exits;
}
@end
@implementation Listener
- (void)currentVideoPositionWithDurationPlayedSeconds:(float)seconds {
    require([NSThread isMainThread], "a listener's call off the main thread");
    position = seconds;
}
- (void)playerExitWithDuration:(int64_t)duration {
    printf("host: performed %lld s\n", (long long)duration);
    ++exits;
}
@end

static KCSDKPlayerEvents* start(KCSDKVideoViewBuilder* builder, UIView* parent, NSError** error) {
    __block BOOL came = NO;
    __block KCSDKPlayerEvents* events = nil;
    __block NSError* failure = nil;
    [builder startVideoInParentView:parent
                        overlayView:nil
                    completionBlock:^(KCSDKPlayerEvents* started, NSError* refused) {
                      events = [started retain];
                      failure = [refused retain];
                      came = YES;
                    }];
    TURN_UNTIL(came, "no answer to a start");
    *error = [failure autorelease];
    return [events autorelease];
}

/// A completion that tells an error alone.
static void finish(void (^call)(KCSDKErrorBlock), const char* what) {
    NSMutableArray* errors = [NSMutableArray array];  // what a block captures is kept by it
    __block int calls = 0;
    call(^(NSError* error) {
      if (error) [errors addObject:error];
      __atomic_add_fetch(&calls, 1, __ATOMIC_SEQ_CST);
    });
    TURN_UNTIL(__atomic_load_n(&calls, __ATOMIC_SEQ_CST) > 0, what);
    require([errors count] == 0 && calls == 1, what);
}

static KCSDKOndemandClass* chosenClass(void) {
    __block KCSDKOndemandClass* chosen = nil;
    [KCSDK getOndemandClassDetailsFor:@"50102"
                      completionBlock:^(KCSDKOndemandClass* found, NSError* error) {
                        require(found && !error, "no such class");
                        chosen = [found retain];
                      }];
    TURN_UNTIL(chosen != nil, "no class came");
    return [chosen autorelease];
}

static void play(KCSDKVideoViewBuilder* builder, Listener* listener) {
    UIView* parent = [[[UIView alloc] initWithFrame:NSMakeRect(0, 0, 1280, 720)] autorelease];
    NSError* error = nil;
    require(!start(builder, parent, &error) && [error code] == 601, "no consent asked for");
    KCSDKConsent* consent = [[error userInfo] objectForKey:@"consent"];
    finish(
        ^(KCSDKErrorBlock done) {
          [KCSDK acceptConsentWithTag:consent.consentTag completionBlock:done];
        },
        "consent");
    require(!start(builder, parent, &error) && [error code] == 403, "no subscription asked for");
    finish(
        ^(KCSDKErrorBlock done) {
          [KCSDK activateSubscriptionWithSubscription:[[[KCSDKUserSubscriptionRequest alloc]
                                                          initWithStartDate:[NSDate date]
                                                             subscriptionId:@"gold"] autorelease]
                                      completionBlock:done];
        },
        "subscription");
    KCSDKPlayerEvents* events = start(builder, parent, &error);
    require(events != nil, "no player");
    TURN_UNTIL(listener->position > 1.5F, "nothing plays");
    KCSDKPlayerView* view = events.playerVC.viewVideo;
    [events stopVideo];
    TURN_UNTIL(view.overlayController == nil, "it does not close");
    require(listener->exits == 1, "an exit");
}

int main(int argc, char** argv) {
    NSAutoreleasePool* pool = [[NSAutoreleasePool alloc] init];
    require(argc == 4, "usage: host URL AUTHORITY FOLDER");
    NSString* url = [NSString stringWithUTF8String:argv[1]];
    require([KCSDKDevice installWithApplicationName:@"host"
                                         dataFolder:[NSString stringWithUTF8String:argv[3]]
                               certificateAuthority:[NSString stringWithUTF8String:argv[2]]
                                              media:YES],
            "no media engine");
    require([KCSDKDevice attachMainQueueToRunLoop], "no main queue");
    KCSDKConfig* config = [[[KCSDKConfig alloc] initWithBaseURL:url
                                                      secretKey:@"not-a-secret"
                                                         apiKey:@"korvel-development"
                                                       tenantId:@"korvel"
                                                  localyticsKey:@"analytics"] autorelease];
    [KCSDK initializeWithConfig:config];
    finish(
        ^(KCSDKErrorBlock done) {
          [KCSDK startSessionWithUserName:@"anna" completionBlock:done];
        },
        "log-in");
    Listener* listener = [[[Listener alloc] init] autorelease];
    KCSDKVideoViewBuilder* builder =
        [[[KCSDKVideoViewBuilder alloc] initWithOndemandClassInfo:chosenClass()] autorelease];
    [builder setEventReceiverWithReceiver:listener];
    play(builder, listener);
    // The record goes out in the background; a host that ends at once takes it along.
    for (int i = 0; i < 50; ++i) {
        [[NSRunLoop currentRunLoop] runMode:NSDefaultRunLoopMode
                                 beforeDate:[NSDate dateWithTimeIntervalSinceNow:0.02]];
    }
    puts("host: done");
    [pool release];
    return EXIT_SUCCESS;
}
