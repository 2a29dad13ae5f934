#pragma once

// Between Objective-C and C++: which object stands for which, and the ways into the host's code.
// Retained and released by hand, as the runtime here has nothing else. No C++ try or catch in this
// folder: with clang and GCC's runtime an exception that meets one ends the process.
#import <Foundation/Foundation.h>
#import <KorvelContentSDK/KorvelContentSDK.h>

#include <korvel/platform/foundation/Object.h>

#include <memory>
#include <utility>

#if __has_feature(objc_arc)
#error "compiled without ARC; hosts may use it"
#endif

namespace kc {

using korvel::platform::Object;

/// One object of Objective-C for one of C++, as long as somebody holds it. Autoreleased; nil for
/// null. `cls` counts where there is none yet.
id wrap(Class cls, std::shared_ptr<Object> core);
/// Of the class that its dynamic type calls for.
id wrapDynamic(std::shared_ptr<Object> core);

/// Borrowed from `object`, which is not nil.
const std::shared_ptr<Object>& core(KCSDKObject* object);

/// Raises NSInvalidArgumentException.
[[noreturn]] void refuse(NSString* what, id object);

/// What `object` stands for; null for nil, and raises if it stands for something else.
template <class T> std::shared_ptr<T> record(id object) {
    if (!object) return nullptr;
    auto found = [object isKindOfClass:[KCSDKObject class]]
                     ? std::dynamic_pointer_cast<T>(core(object))
                     : nullptr;
    if (!found) refuse(@"not of the class that belongs here:", object);
    return found;
}
/// Of an object whose class says what it stands for.
template <class T> T& as(KCSDKObject* object) { return static_cast<T&>(*core(object)); }

/// Known to Foundation from now until it ends.
void enterThread();
#define KC_INTO_OBJC   \
    kc::enterThread(); \
    @autoreleasepool

/// What a host's block or listener throws ends the process, as in C++; its reason is told first.
[[noreturn]] void uncaught(id exception);
template <class Call> void callHost(Call call) {
    KC_INTO_OBJC {
        @try {
            call();
        } @catch (id exception) {
            uncaught(exception);
        }
    }
}

/// A host's block: copied at once, let go of on whichever thread drops it last. nil is allowed.
template <class Block> class HostBlock {
public:
    explicit HostBlock(Block block) : block_(Block_copy(block)) {}
    ~HostBlock() {
        if (!block_) return;
        KC_INTO_OBJC { Block_release(block_); }  // its last capture may run a host's dealloc
    }
    HostBlock(const HostBlock&) = delete;
    HostBlock& operator=(const HostBlock&) = delete;

    /// `results` makes the block's arguments, in the pool that the call is in.
    template <class... Results> void operator()(Results... results) const {
        if (block_) callHost([&] { block_(results()...); });
    }

private:
    const Block block_;
};

[[noreturn]] void noInit(id object);

}  // namespace kc

@interface KCSDKObject (Core)
/// The object that stands for `core`: this one, unless another thread was faster.
- (instancetype)initWithCore:(std::shared_ptr<korvel::platform::Object>)core;
@end
