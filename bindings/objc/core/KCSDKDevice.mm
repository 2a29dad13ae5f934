#import "KCStreamFailure.h"
#import "KCValues.h"

#include <korvel/platform/Device.h>
#include <korvel/platform/backends/gstreamer/MediaEngineGStreamer.h>

#include <dlfcn.h>

#include <atomic>
#include <functional>

namespace p = korvel::platform;

/// A turn of the main queue, as a message that the main thread's run loop can deliver.
@interface KCMainQueueTurner : NSObject {
@public
    std::function<void()>* turn;
}
@end
@implementation KCMainQueueTurner
- (void)dealloc {
    delete turn;
    [super dealloc];
}
- (void)turn {
    (*turn)();
}
@end

namespace {

/// Waits on a thread of its own: GNUstep's run loop asks poll() again and again through the last
/// millisecond before a timer, 14 times for each of 150 turns a second.
class RunLoopPump final : public p::Pump {
public:
    explicit RunLoopPump(const std::shared_ptr<p::MainQueue>& queue)
        : state_(std::make_shared<State>()) {
        state_->queue = queue;
        state_->waiter = p::DispatchQueue::serial("NSRunLoop");
        state_->turner = [[KCMainQueueTurner alloc] init];
        state_->turner->turn = new std::function<void()>([weak = std::weak_ptr(state_)] {
            if (const auto state = weak.lock()) state->turn(state);
        });
    }
    void wakeAt(p::Clock::Instant) override { state_->post(); }

private:
    struct State {
        ~State() {
            KC_INTO_OBJC { [turner release]; }
        }
        void post() {
            if (posted.exchange(true)) return;
            KC_INTO_OBJC {
                [turner performSelectorOnMainThread:@selector(turn)
                                         withObject:nil
                                      waitUntilDone:NO];
            }
        }
        void turn(const std::shared_ptr<State>& self) {
            posted = false;
            const auto live = queue.lock();
            const auto next = live ? live->drain() : std::nullopt;
            if (!next) return;
            const auto now = p::Device::current().clock->now();
            if (*next <= now) return post();
            if (waits && due == *next) return;
            waits = true;
            due = *next;
            waiter->asyncAfter(*next - now, [weak = std::weak_ptr(self)] {
                const auto state = weak.lock();
                if (!state) return;
                state->waits = false;
                state->post();
            });
        }

        std::weak_ptr<p::MainQueue> queue;
        std::shared_ptr<p::DispatchQueue> waiter;
        KCMainQueueTurner* turner = nil;
        std::atomic<bool> posted = false;
        std::atomic<bool> waits = false;  // for `due`
        p::Clock::Instant due;            // main thread
    };
    const std::shared_ptr<State> state_;
};

/// The media library beside this one, or that of the program; null if there is none. Looked for
/// when it is wanted, so that a host that does not play needs none of it.
auto findInstallDeviceGStreamer() {
    using Install = decltype(&p::installDeviceGStreamer);
    void* library = dlopen(KORVEL_GSTREAMER_LIBRARY, RTLD_NOW | RTLD_LOCAL | RTLD_NODELETE);
    constexpr const char* name =
        "_ZN6korvel8platform22installDeviceGStreamerENS0_6DeviceERKNS0_13DeviceOptionsENS0_"
        "16GStreamerOptionsE";
    return reinterpret_cast<Install>(library ? dlsym(library, name) : nullptr);
}

}  // namespace

@implementation KCSDKDevice

+ (BOOL)installWithApplicationName:(NSString*)name
                        dataFolder:(NSString*)folder
              certificateAuthority:(NSString*)authorityFile
                             media:(BOOL)media {
    p::DeviceOptions options;
    options.applicationName = kc::text(name);
    options.dataFolder = kc::text(folder);
    options.certificateAuthorityFile = kc::text(authorityFile);
    if (!media) return p::Device::install({}, options);
    const auto install = findInstallDeviceGStreamer();
    return install && install({}, options, {});
}

+ (BOOL)attachMainQueueToRunLoop {
    static bool attached = false;  // main thread
    if (![NSThread isMainThread]) return NO;
    const auto& queue = p::Device::current().mainQueue;
    if (queue->isDriven()) return attached;
    [NSRunLoop currentRunLoop];  // a thread that has none yet would be turned from within wakeAt
    queue->attach(std::make_shared<RunLoopPump>(queue));
    attached = true;
    return YES;
}

+ (void)performOnMainQueue:(KCSDKTaskBlock)task {
    p::Device::current().mainQueue->async(kc::completion(task));
}

+ (void)setStreamFailureHandler:(KCSDKStreamFailureBlock)handler {
    kc::setStreamFailureHandler(handler);
}

@end
