#import <Foundation/Foundation.h>

#ifndef KORVEL_OBJC_API
#define KORVEL_OBJC_API __attribute__((visibility("default")))
#endif

// An initialiser that is not there: the compiler refuses a call of it, one past the compiler ends
// the process.
#define KCSDK_NO_INIT __attribute__((unavailable("there is no such initialiser")))

NS_ASSUME_NONNULL_BEGIN

/// Root of the SDK's reference types. One object stands for one of the SDK's as long as somebody
/// holds it: two variables that name the same record hold the same object, so compare with ==.
/// Equality and hash are NSObject's; a copy is the object itself. Retain and release: any thread.
///
/// A subclass of the host's lives as long as the host holds it. What the SDK hands out after that
/// is of the SDK's own class.
KORVEL_OBJC_API
@interface KCSDKObject : NSObject <NSCopying> {
@private  // where instance variables are fragile a subclass adds none, so this never changes
    void* _core[2];
    int _references;
}
- (instancetype)init KCSDK_NO_INIT;
+ (instancetype)new KCSDK_NO_INIT;
@end

NS_ASSUME_NONNULL_END
