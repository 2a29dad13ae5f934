#pragma once

#if defined(__SANITIZE_THREAD__)
#define KORVEL_THREAD_SANITIZER 1
#elif defined(__has_feature)
#if __has_feature(thread_sanitizer)
#define KORVEL_THREAD_SANITIZER 1
#endif
#endif

#ifdef KORVEL_THREAD_SANITIZER
extern "C" {
void __tsan_acquire(void* address);
void __tsan_release(void* address);
}
#endif

namespace korvel::platform::gst {

/// Says that GStreamer hands what hangs on `address` from thread to thread in good order: all
/// before the end of one such object happens before the beginning of the next. ThreadSanitizer
/// cannot see it, as GLib is not compiled for it; in other builds this is nothing.
class [[maybe_unused]] HandOver {
public:
    explicit HandOver([[maybe_unused]] void* address) {
#ifdef KORVEL_THREAD_SANITIZER
        address_ = address;
        __tsan_acquire(address_);
#endif
    }
    ~HandOver() {
#ifdef KORVEL_THREAD_SANITIZER
        __tsan_release(address_);
#endif
    }
    HandOver(const HandOver&) = delete;
    HandOver& operator=(const HandOver&) = delete;

#ifdef KORVEL_THREAD_SANITIZER
private:
    void* address_;
#endif
};

}  // namespace korvel::platform::gst
