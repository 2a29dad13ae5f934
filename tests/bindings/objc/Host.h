#import <KorvelContentSDK/KorvelContentSDK.h>

#ifdef __cplusplus
extern "C" {
#endif
/// A host's check that failed: a failure of the test that it is in.
void hostFailed(const char* file, int line, const char* what);
/// Turns the run loop until `done`.
BOOL turnUntil(BOOL (^done)(void));
#ifdef __cplusplus
}
#endif

#define CHECK(condition)                                              \
    do {                                                              \
        if (!(condition)) hostFailed(__FILE__, __LINE__, #condition); \
    } while (0)
#define CHECK_TEXT(text, expected) CHECK([(text) isEqual:(expected)])
// clang-format off
#define CHECK_TURN(condition) CHECK(turnUntil(^BOOL { return (condition); }))
// clang-format on

/// What a completion brought, waited for on the test's thread.
@interface Answer : NSObject {
@public
    NSConditionLock* lock;
    id record;
    NSError* error;
    BOOL came, onMain;
}
+ (Answer*)answer;
- (void)record:(id)record error:(NSError*)error;
- (KCSDKErrorBlock)errorBlock;           ///< records what it is called with
- (void (^)(id record, NSError*))block;  ///< the same
- (BOOL)wait;                            ///< without turning the run loop
- (BOOL)waitSeconds:(double)seconds;
- (BOOL)turn;  ///< in the run loop
@end

/// Counts itself.
@interface Probe : NSObject
+ (int)alive;
@end

@interface Listener : Probe <KCSDKPlayerEventsListner> {
@public
    int positions, totals, statuses, exits, empties, likelies;
    int64_t status, performed;
    float position, total;
    BOOL offMain;
}
@end
