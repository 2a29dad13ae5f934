#import "KCValues.h"

#include <array>
#include <mutex>
#include <typeindex>
#include <unordered_map>

namespace {

/// Which object of Objective-C stands for which of C++. Nothing is held; an entry goes, under the
/// lock, with the last reference, so what is found here can still be retained.
struct Shard {
    std::mutex mutex;
    std::unordered_map<const void*, KCSDKObject*> objects;
};
Shard& shardOf(const void* core) {
    static auto& shards = *new std::array<Shard, 16>;  // lives as long as any record
    return shards[(reinterpret_cast<std::uintptr_t>(core) >> 5) % shards.size()];
}

}  // namespace

@implementation KCSDKObject

// Objects are born with zeroes, which are a null pointer to its destructor, too.
using Core = std::shared_ptr<korvel::platform::Object>;

static Core* coreOf(KCSDKObject* object) { return reinterpret_cast<Core*>(&object->_core); }

static void takeCore(KCSDKObject* object, Core core) {
    static_assert(sizeof(Core) == sizeof object->_core);
    std::construct_at(coreOf(object), std::move(core));
}

- (instancetype)init {
    kc::noInit(self);
}
+ (instancetype)new {
    return [[self alloc] init];
}

- (instancetype)initWithCore:(std::shared_ptr<korvel::platform::Object>)core {
    if (!(self = [super init])) return nil;
    const void* key = core.get();
    takeCore(self, std::move(core));
    Shard& shard = shardOf(key);
    std::unique_lock lock(shard.mutex);
    const auto [entry, first] = shard.objects.emplace(key, self);
    if (first) return self;
    KCSDKObject* other = [entry->second retain];
    lock.unlock();
    [self release];
    return other;
}

- (void)dealloc {
    std::destroy_at(coreOf(self));
    [super dealloc];
}

- (instancetype)retain {
    __atomic_add_fetch(&_references, 1, __ATOMIC_RELAXED);
    return self;
}

- (oneway void)release {
    int extra = __atomic_load_n(&_references, __ATOMIC_RELAXED);
    while (extra > 0) {
        if (__atomic_compare_exchange_n(&_references, &extra, extra - 1, true, __ATOMIC_RELEASE,
                                        __ATOMIC_RELAXED)) {
            return;
        }
    }
    if (*coreOf(self)) {
        const void* key = coreOf(self)->get();
        Shard& shard = shardOf(key);
        const std::lock_guard lock(shard.mutex);
        extra = 0;
        if (!__atomic_compare_exchange_n(&_references, &extra, -1, false, __ATOMIC_ACQ_REL,
                                         __ATOMIC_RELAXED)) {
            __atomic_sub_fetch(&_references, 1, __ATOMIC_ACQ_REL);  // found again meanwhile
            return;
        }
        const auto found = shard.objects.find(key);
        if (found != shard.objects.end() && found->second == self) shard.objects.erase(found);
    }
    [self dealloc];
}

- (NSUInteger)retainCount {
    return static_cast<NSUInteger>(__atomic_load_n(&_references, __ATOMIC_RELAXED) + 1);
}

- (id)copyWithZone:(NSZone*)zone {
    (void)zone;
    return [self retain];
}

@end

namespace kc {

const std::shared_ptr<Object>& core(KCSDKObject* object) { return *coreOf(object); }

id wrap(Class cls, std::shared_ptr<Object> core) {
    if (!core) return nil;
    Shard& shard = shardOf(core.get());
    KCSDKObject* object = nil;
    {
        const std::lock_guard lock(shard.mutex);
        KCSDKObject*& known = shard.objects[core.get()];
        if (known) {
            object = [known retain];
        } else {
            known = object = [cls alloc];  // what `init` would do besides is nothing
            takeCore(object, std::move(core));
        }
    }
    return [object autorelease];
}

namespace {

Class classFor(const Object& object) {
#define KC_ENTRY(name) {typeid(korvel::name), classOf<korvel::name>()},
    static const auto& records =
        *new std::unordered_map<std::type_index, Class>{KC_RECORDS(KC_ENTRY)};
#undef KC_ENTRY
    const auto found = records.find(typeid(object));
    if (found != records.end()) return found->second;
    const auto is = [&]<class T>() { return dynamic_cast<const T*>(&object) != nullptr; };
    if (is.operator()<p::UIView>()) {
        if (is.operator()<korvel::KCSDKPlayerView>()) return [::KCSDKPlayerView class];
        if (is.operator()<p::UIButton>()) return [::UIButton class];
        if (is.operator()<p::UISlider>()) return [::UISlider class];
        if (is.operator()<p::UILabel>()) return [::UILabel class];
        return [::UIView class];
    }
    if (is.operator()<p::UIViewController>()) {
        if (is.operator()<korvel::KCSDKPlayerViewController>()) {
            return [::KCSDKPlayerViewController class];
        }
        if (is.operator()<korvel::KCSDKPlayerOverlay>()) return [::KCSDKPlayerOverlay class];
        return [::UIViewController class];
    }
    return [::KCSDKObject class];
}

}  // namespace

id wrapDynamic(std::shared_ptr<Object> core) {
    if (!core) return nil;
    const Class cls = classFor(*core);
    return wrap(cls, std::move(core));
}

void refuse(NSString* what, id object) {
    @throw [NSException exceptionWithName:NSInvalidArgumentException
                                   reason:[NSString stringWithFormat:@"%@ %@", what, object]
                                 userInfo:nil];
}

void enterThread() {
#ifdef GNUSTEP
    static thread_local bool known = false;
    if (std::exchange(known, true)) return;
    GSRegisterCurrentThread();  // Foundation forgets the thread by itself when it ends
#endif
}

void uncaught(id exception) {
    NSUncaughtExceptionHandler* handler = NSGetUncaughtExceptionHandler();
    if (handler && [exception isKindOfClass:[NSException class]]) handler(exception);
    NSLog(@"Fatal error: a block or listener of the host threw %@", exception);
    abort();
}

void noInit(id object) {
    NSLog(@"Fatal error: Use of unimplemented initializer 'init()' for class '%@'",
          NSStringFromClass([object class]));
    abort();
}

}  // namespace kc
