#import <KorvelContentSDK/KorvelContentSDK.h>

#import "Scenarios.h"

// Each side once: the failure names the expression.
#define CHECK(condition)                                              \
    do {                                                              \
        if (!(condition)) hostFailed(__FILE__, __LINE__, #condition); \
    } while (0)
#define CHECK_TEXT(text, expected) CHECK([(text) isEqual:(expected)])

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

BOOL turnUntil(BOOL (^done)(void), double seconds);
// clang-format off
#define CHECK_TURN(condition) CHECK(turnUntil(^BOOL { return (condition); }, 20))
// clang-format on

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

#ifdef __cplusplus
extern "C" {
#endif
void installDevice(const struct Service* service, BOOL media);
KCSDKConfig* makeConfig(NSString* url);
/// The device without media, initialised.
void setUp(const struct Service* service);
void logIn(void);
KCSDKOndemandClass* classDetails(NSString* tag);
KCSDKOndemandClassResponse* classesPage(void);
#ifdef __cplusplus
}
#endif
