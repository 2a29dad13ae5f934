// For hosts in Objective-C++: from an object to the one of C++ that it stands for, and back. So
// views of a toolkit can be parents, and an NSError's records can be C++ ones. Do not write
// `using namespace korvel` beside it: KCSDK, UIView and others are names of both.
#import <KorvelContentSDK/KCSDKObject.h>

#include <korvel/platform/foundation/Object.h>

#include <memory>

/// Never null; `object` is not nil. Any thread.
KORVEL_OBJC_API std::shared_ptr<korvel::platform::Object> KCSDKCoreObject(
    KCSDKObject* _Nonnull object);

/// Null for nil, and for an object that stands for none of that type. Any thread.
template <class T> std::shared_ptr<T> KCSDKCore(KCSDKObject* _Nullable object) {
    return object ? std::dynamic_pointer_cast<T>(KCSDKCoreObject(object)) : nullptr;
}

/// The object that stands for `core`, of the class that its type calls for; nil for null.
/// Autoreleased. Any thread.
KORVEL_OBJC_API id _Nullable KCSDKObjectOf(std::shared_ptr<korvel::platform::Object> core);
