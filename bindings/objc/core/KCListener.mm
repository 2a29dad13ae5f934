#import "KCListener.h"

#include <korvel/player/KCSDKPlayerEventsListner.h>

namespace kc {

namespace {

class Listener final : public korvel::KCSDKPlayerEventsListner {
public:
    explicit Listener(id<KCSDKPlayerEventsListner> host) : host_([host retain]) {}
    ~Listener() override {
        KC_INTO_OBJC { [host_ release]; }
    }
    Listener(const Listener&) = delete;
    Listener& operator=(const Listener&) = delete;
    id<KCSDKPlayerEventsListner> host() const { return host_; }

    void playerStatusWithStatus(std::int64_t status) override {
        tell(@selector(playerStatusWithStatus:), [&] { [host_ playerStatusWithStatus:status]; });
    }
    void playerExitWithDuration(std::int64_t duration) override {
        tell(@selector(playerExitWithDuration:), [&] { [host_ playerExitWithDuration:duration]; });
    }
    void currentVideoPositionWithDurationPlayedSeconds(float seconds) override {
        tell(@selector(currentVideoPositionWithDurationPlayedSeconds:),
             [&] { [host_ currentVideoPositionWithDurationPlayedSeconds:seconds]; });
    }
    void totalVideoDurationWithTotalDuration(float seconds) override {
        tell(@selector(totalVideoDurationWithTotalDuration:),
             [&] { [host_ totalVideoDurationWithTotalDuration:seconds]; });
    }
    void playbackBufferEmpty() override {
        tell(@selector(playbackBufferEmpty), [&] { [host_ playbackBufferEmpty]; });
    }
    void playbackLikelyToKeepUp() override {
        tell(@selector(playbackLikelyToKeepUp), [&] { [host_ playbackLikelyToKeepUp]; });
    }

private:
    template <class Call> void tell(SEL selector, Call call) const {
        callHost([&] {
            if ([host_ respondsToSelector:selector]) call();
        });
    }

    const id<KCSDKPlayerEventsListner> host_;
};

}  // namespace

std::shared_ptr<korvel::KCSDKPlayerEventsListner> listener(id<KCSDKPlayerEventsListner> host) {
    return host ? std::make_shared<Listener>(host) : nullptr;
}

id<KCSDKPlayerEventsListner> hostOf(
    const std::shared_ptr<korvel::KCSDKPlayerEventsListner>& listener) {
    const auto* adapter = dynamic_cast<const Listener*>(listener.get());
    return adapter ? [[adapter->host() retain] autorelease] : nil;
}

}  // namespace kc
