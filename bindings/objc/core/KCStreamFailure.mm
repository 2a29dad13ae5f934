#import "KCStreamFailure.h"

#import "KCValues.h"

#include <korvel/platform/avfoundation/AVPlayer.h>
#include <korvel/platform/avfoundation/AVPlayerItem.h>

#include <mutex>

namespace kc {

namespace {

using Handler = HostBlock<KCSDKStreamFailureBlock>;

std::mutex handlerMutex;
std::shared_ptr<const Handler>& handlerInUse() {
    static auto& handler = *new std::shared_ptr<const Handler>;  // streams may outlive main()
    return handler;
}

/// Owned by the player's view, as its stream holds observers weakly.
class StreamWatch final : public Object, public p::KeyValueObserver {
public:
    explicit StreamWatch(const std::shared_ptr<p::UIView>& view) : view_(view) {}

    void observeValueForKeyPath(const std::string&, Object& object,
                                const p::KeyValueChange&) override {
        const auto& stream = static_cast<const p::AVPlayerItem&>(object);
        if (stream.status() == p::AVPlayerItem::Status::failed) tell(stream);
    }
    void tell(const p::AVPlayerItem& stream) {
        if (std::exchange(told_, true)) return;
        std::shared_ptr<const Handler> handler;
        {
            const std::lock_guard lock(handlerMutex);
            handler = handlerInUse();
        }
        const auto view = view_.lock();
        if (!handler || !view) return;
        const auto error = stream.error().value_or(korvel::NSError{});
        (*handler)([&] { return toNS(view); }, [&] { return toNS(error); });
    }

private:
    const std::weak_ptr<p::UIView> view_;
    bool told_ = false;
};

}  // namespace

void setStreamFailureHandler(KCSDKStreamFailureBlock block) {
    std::shared_ptr<const Handler> handler =
        block ? std::make_shared<const Handler>(block) : nullptr;
    const std::lock_guard lock(handlerMutex);
    handlerInUse().swap(handler);  // the former one goes after the lock: a host's dealloc may call
}

void watchStream(const korvel::KCSDKPlayerEvents& events) {
    const auto& view = events.playerVC->viewVideo;
    const auto player = view ? view->player() : nullptr;
    const auto stream = player ? player->currentItem() : nullptr;
    if (!stream) return;
    const auto watch = std::make_shared<StreamWatch>(view);
    view->keep(watch);
    stream->addObserver(watch, "status");
    if (stream->status() != p::AVPlayerItem::Status::failed) return;
    // Failed already: told after the host's own completion.
    p::Device::current().mainQueue->async([watch, stream] { watch->tell(*stream); });
}

}  // namespace kc
