#include <korvel/client/PlaybackWatch.h>
#include <korvel/network/KCSDKNetworkManager.h>
#include <korvel/network/ServiceOperations.h>
#include <korvel/player/KCSDKPlayerView.h>
#include <korvel/player/KCSDKPlayerViewController.h>
#include <korvel/player/TokenPrefetch.h>
#include <korvel/presentation/KCSDKPlayerEvents.h>
#include <korvel/presentation/KCSDKVideoViewBuilder.h>

#include <utility>

namespace korvel {

PlaybackWatch::PlaybackWatch(const platform::Device& device,
                             std::shared_ptr<KCSDKOndemandClass> chosen, PlayOptions&& options,
                             std::shared_ptr<Ticket> ticket, std::shared_ptr<Outbox> outbox)
    : StartDirection(ticket->manager),
      mainQueue(device.mainQueue),
      clock_(device.clock),
      class_(std::move(chosen)),
      outbox_(std::move(outbox)),
      options_(std::move(options)),
      ticket_(std::move(ticket)) {
    endsWithoutStream = true;
}

void PlaybackWatch::start(const std::shared_ptr<KnownServers>& servers) {
    // What is the host's goes with the start, not with this.
    const auto parent = std::move(options_.in);
    const auto overlay = std::move(options_.overlay);
    const auto listener = std::move(options_.listener);
    const auto look = std::exchange(options_.look, nullptr);
    if (ticket_->isOver()) return;
    const auto& device = platform::Device::current();
    const auto builder = KCSDKVideoViewBuilder::create(class_);
    if (look) look(*builder);
    if (listener) builder->setEventReceiver(listener);
    if (options_.prefetch) tokens = std::make_shared<TokenPrefetch>(clock_, servers);
    timeline_.asked = clock_->now();
    builder->start(parent, overlay, shared_from_this(), ticket_);
    if (!tokens) return;
    tokens->begin(manager->operations());
    servers->prepare(device);
}

void PlaybackWatch::answered() {
    const std::lock_guard lock(mutex_);
    timeline_.performed = clock_->now();
}

void PlaybackWatch::done(Outcome<std::shared_ptr<KCSDKPlayerEvents>> outcome) {
    const auto ticket = std::move(ticket_);
    if (!outcome) return ticket->ended(std::move(outcome.failure()));
    follow((*outcome)->playerVC->viewVideo);
    ticket->ended(Box(std::make_shared<Playback>(shared_from_this(), *outcome)));
}

void PlaybackWatch::record(const KCSDKOndemandClass& performed, std::int64_t performedSeconds) {
    const auto& service = manager->operations();
    const auto performance = service.performance(performed, performedSeconds);
    if (!performance) return recorded(failureFor(Failure::Reason::unusableBaseURL));
    performance_ = performance->record;
    BoxHandler told = [self = shared_from_this()](Outcome<Box> outcome) {
        self->recorded(std::move(outcome));
    };
    if (outbox_) return outbox_->deliver(manager, performance->request, nullptr, std::move(told));
    service.record(performance->request, std::move(told));
}

void PlaybackWatch::recorded(Outcome<Box> outcome) {
    mainQueue->async([self = shared_from_this(), outcome = std::move(outcome)] {
        {
            const std::lock_guard lock(self->mutex_);
            self->status_.recorded.emplace(unboxed<Done>(outcome));
            self->status_.performance = self->performance_;
        }
        self->tell();
    });
}

}  // namespace korvel
