#import "Host.h"

/// Blocks are no objects of this runtime: one keeps a copy until the pool goes.
@interface BlockOwner : NSObject {
@public
    void* block;
}
@end
@implementation BlockOwner
- (void)dealloc {
    Block_release(block);
    [super dealloc];
}
@end
static id owned(id block) {
    BlockOwner* owner = [[[BlockOwner alloc] init] autorelease];
    owner->block = Block_copy((void*)block);
    return owner->block;
}

@implementation Answer
+ (Answer*)answer {
    return [[[Answer alloc] init] autorelease];
}
- (id)init {
    if ((self = [super init])) lock = [[NSConditionLock alloc] initWithCondition:0];
    return self;
}
- (void)dealloc {
    [lock release];
    [record release];
    [error release];
    [super dealloc];
}
- (void)record:(id)aRecord error:(NSError*)anError {
    [lock lock];
    CHECK(!came);  // at most once
    came = YES;
    record = [aRecord retain];
    error = [anError retain];
    onMain = [NSThread isMainThread];
    [lock unlockWithCondition:1];
}
- (KCSDKErrorBlock)errorBlock {
    return owned(^(NSError* anError) {
      [self record:nil error:anError];
    });
}
- (void (^)(id, NSError*))block {
    return owned(^(id aRecord, NSError* anError) {
      [self record:aRecord error:anError];
    });
}
- (BOOL)waitSeconds:(double)seconds {
    NSDate* end = [NSDate dateWithTimeIntervalSinceNow:seconds];
    if (![lock lockWhenCondition:1 beforeDate:end]) return NO;
    [lock unlock];
    return YES;
}
- (BOOL)wait {
    return [self waitSeconds:20];
}
- (BOOL)turn {
    return turnUntil(^{
      return came;
    });
}
@end

BOOL turnUntil(BOOL (^done)(void)) {
    NSDate* end = [NSDate dateWithTimeIntervalSinceNow:20];
    while (!done() && [end timeIntervalSinceNow] > 0) {
        NSAutoreleasePool* pool = [[NSAutoreleasePool alloc] init];
        [[NSRunLoop currentRunLoop] runMode:NSDefaultRunLoopMode
                                 beforeDate:[NSDate dateWithTimeIntervalSinceNow:0.02]];
        [pool release];
    }
    return done();
}

static int alive = 0;
@implementation Probe
+ (int)alive {
    return __atomic_load_n(&alive, __ATOMIC_SEQ_CST);
}
- (id)init {
    if ((self = [super init])) __atomic_add_fetch(&alive, 1, __ATOMIC_SEQ_CST);
    return self;
}
- (void)dealloc {
    __atomic_sub_fetch(&alive, 1, __ATOMIC_SEQ_CST);
    [super dealloc];
}
@end

@implementation Listener
- (void)noteThread {
    if (![NSThread isMainThread]) offMain = YES;
}
- (void)playerStatusWithStatus:(int64_t)aStatus {
    [self noteThread];
    ++statuses;
    status = aStatus;
}
- (void)playerExitWithDuration:(int64_t)duration {
    [self noteThread];
    ++exits;
    performed = duration;
}
- (void)currentVideoPositionWithDurationPlayedSeconds:(float)seconds {
    [self noteThread];
    ++positions;
    position = seconds;
}
- (void)totalVideoDurationWithTotalDuration:(float)seconds {
    ++totals;
    total = seconds;
}
- (void)playbackBufferEmpty {
    ++empties;
}
- (void)playbackLikelyToKeepUp {
    [self noteThread];
    ++likelies;
}
@end
