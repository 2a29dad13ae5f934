#include <korvel/client/ContentClient.h>
#include <korvel/client/MemoryKeychain.h>
#include <korvel/client/Outbox.h>
#include <korvel/client/PlaybackWatch.h>
#include <korvel/client/Telling.h>
#include <korvel/model/KCSDKConsent.h>
#include <korvel/model/KCSDKOndemandClass.h>
#include <korvel/model/KCSDKOndemandClassResponse.h>
#include <korvel/model/KCSDKOndemandCollection.h>
#include <korvel/model/KCSDKOndemandContentToken.h>
#include <korvel/model/KCSDKOndemandMetaData.h>
#include <korvel/model/KCSDKOndemandSearchResult.h>
#include <korvel/model/KCSDKUser.h>
#include <korvel/network/KCSDKNetworkManager.h>
#include <korvel/network/ServiceOperations.h>
#include <korvel/platform/Device.h>
#include <korvel/player/KCSDKPlayerView.h>
#include <korvel/player/KCSDKPlayerViewController.h>
#include <korvel/player/TokenPrefetch.h>
#include <korvel/presentation/KCSDKPlayerEvents.h>
#include <korvel/presentation/KCSDKVideoViewBuilder.h>
#include <korvel/sdk/KCSDK.h>
#include <korvel/session/KCSDKConfig.h>

#include <utility>

namespace korvel {

using platform::Device;

namespace {

/// The process's pool as an object that can be held: it lives as long as the process.
std::shared_ptr<platform::DispatchQueue> pool() {
    return {std::shared_ptr<void>(), &platform::DispatchQueue::global()};
}

std::shared_ptr<const ClientSurroundings> surroundingsOn(const Device& device,
                                                         const ClientOptions& options) {
    auto surroundings = std::make_shared<ClientSurroundings>();
    surroundings->deadlines =
        std::make_shared<Deadlines>(device.clock, options.timers ? options.timers : pool());
    surroundings->mainQueue = device.mainQueue;
    surroundings->readRetries = options.readRetries;
    return surroundings;
}

std::shared_ptr<Outbox> outboxOn(const Device& device, const ClientOptions& options,
                                 std::shared_ptr<const ClientSurroundings> surroundings) {
    if (!options.outbox || !device.outbox) return nullptr;
    return std::make_shared<Outbox>(device.outbox, std::move(surroundings), options.deadline,
                                    options.outboxObserver);
}

std::shared_ptr<KCSDKNetworkManager> managerOn(Device device, std::shared_ptr<KCSDKConfig> config) {
    device.localytics->integrate(config->localyticsKey);
    device.localytics->setLoggingEnabled(false);
    device.localytics->openSession();
    if (auto region = device.locale->regionCode()) config->countryCode = std::move(*region);
    device.keychain = std::make_shared<MemoryKeychain>();
    auto manager = std::make_shared<KCSDKNetworkManager>(device);
    manager->setSdkConfig(std::move(config));
    return manager;
}

}  // namespace

ContentClient::ContentClient(ClientOptions options)
    : options_(std::move(options)),
      surroundings_(surroundingsOn(Device::current(), options_)),
      outbox_(outboxOn(Device::current(), options_, surroundings_)),
      servers_(std::make_shared<KnownServers>()) {}

ContentClient::ContentClient(std::shared_ptr<KCSDKConfig> config, ClientOptions options)
    : ContentClient(Device::current(), std::move(config), std::move(options)) {}

ContentClient::ContentClient(const Device& device, std::shared_ptr<KCSDKConfig> config,
                             ClientOptions options)
    : options_(std::move(options)),
      manager_(managerOn(device, std::move(config))),
      surroundings_(surroundingsOn(device, options_)),
      outbox_(outboxOn(device, options_, surroundings_)),
      servers_(std::make_shared<KnownServers>()) {}

ContentClient::~ContentClient() = default;

std::shared_ptr<KCSDKNetworkManager> ContentClient::managerInForce() const {
    return manager_ ? manager_ : KCSDK::shared().networkManager();
}

ContentClient::HeldTicket ContentClient::ticket() const {
    auto manager = managerInForce();
    const bool isInitialised = manager != nullptr;
    auto ticket = std::make_shared<const Ticket>(surroundings_, std::move(manager), outbox_);
    if (!isInitialised)
        ticket->failed({.reason = Failure::Reason::notInitialised});
    else
        ticket->pending->endWithin(options_.deadline);
    return ticket;
}

template <class Operation>
std::shared_ptr<PendingCore> ContentClient::begin(const Operation& operation) const {
    return begin([](const void* what,
                    const auto& ticket) { (*static_cast<const Operation*>(what))(ticket); },
                 &operation);
}

/// Calls `operation`, if there is a manager to ask.
std::shared_ptr<PendingCore> ContentClient::begin(void (*operation)(const void*, const HeldTicket&),
                                                  const void* what) const {
    const auto ticket = this->ticket();
    if (ticket->manager) operation(what, ticket);
    return ticket->pending;
}

namespace {

/// On the main queue.
void startPlaying(const std::shared_ptr<KCSDKOndemandClass>& ondemandClass,
                  const PlayOptions& options, const std::shared_ptr<const Ticket>& ticket,
                  const std::shared_ptr<Outbox>& outbox,
                  const std::shared_ptr<KnownServers>& servers) {
    const auto& device = Device::current();
    const auto builder = KCSDKVideoViewBuilder::create(ondemandClass);
    if (options.look) options.look(*builder);
    if (options.listener) builder->setEventReceiver(options.listener);
    const auto watch = std::make_shared<Playback::Watch>(device, options);
    KCSDKVideoViewBuilder::Direction direction;
    const auto& manager = ticket->manager;
    direction.manager = manager;
    direction.conduct = ticket->conduct;
    direction.endsWithoutStream = true;
    direction.answered = [watch] { watch->performed(); };
    if (options.prefetch) direction.tokens = std::make_shared<TokenPrefetch>(device.clock, servers);
    const auto tokens = direction.tokens;
    direction.done = [watch, ticket](const Outcome<std::shared_ptr<KCSDKPlayerEvents>>& started) {
        if (!started) return ticket->failed(Failure(started.failure()));
        watch->follow((*started)->playerVC->viewVideo);
        ticket->answered(std::make_shared<Playback>(Device::current().mainQueue, watch, *started));
    };
    direction.record = [manager, outbox, watch](const KCSDKOndemandClass& performed,
                                                std::int64_t seconds) {
        const auto request = manager->operations().performance(performed, seconds);
        if (!request) return watch->recorded(Failure{.reason = Failure::Reason::unusableBaseURL});
        const OutcomeHandler<Done> told = [watch, sent = request->params](Outcome<Done> outcome) {
            watch->recorded(std::move(outcome), sent);
        };
        if (outbox) return outbox->deliver(manager, *request, nullptr, told, told);
        manager->operations().record(*request, told);
    };
    builder->start(options.in, options.overlay, std::move(direction));
    if (!tokens) return;
    tokens->begin(manager->operations());
    servers->prepare(device);
}

}  // namespace

ContentClient::PendingRecord<Playback> ContentClient::play(
    const std::shared_ptr<KCSDKOndemandClass>& ondemandClass, PlayOptions options) const {
    const auto ticket = this->ticket();
    if (!ondemandClass) ticket->failed({.reason = Failure::Reason::missingArgument});
    if (!ticket->pending->isOver()) {
        const auto start = std::make_shared<PlayOptions>(std::move(options));
        surroundings_->mainQueue->async(
            [ondemandClass, start, ticket, outbox = outbox_, servers = servers_] {
                if (!ticket->pending->isOver())
                    startPlaying(ondemandClass, *start, ticket, outbox, servers);
            });
    }
    return PendingRecord<Playback>(ticket->pending);
}

ContentClient::PendingRecord<KCSDKUser> ContentClient::logIn(const std::string& userName) const {
    return PendingRecord<KCSDKUser>(begin([&](const HeldTicket& ticket) {
        ticket->service().logIn(userName, Telling(ticket), ticket->conduct);
    }));
}

ContentClient::PendingList<KCSDKConsent> ContentClient::consents() const {
    return PendingList<KCSDKConsent>(begin([](const HeldTicket& ticket) {
        ticket->service().consents(Telling(ticket), ticket->conduct);
    }));
}

Pending<Done> ContentClient::acceptConsent(const std::string& tag) const {
    return Pending<Done>(begin([&](const HeldTicket& ticket) {
        ticket->service().acceptConsent(tag, Telling(ticket), ticket->conduct);
    }));
}

ContentClient::PendingList<KCSDKOndemandCollection> ContentClient::collections(
    const std::optional<std::string>& collectionId, std::int64_t maxResults) const {
    return PendingList<KCSDKOndemandCollection>(begin([&](const HeldTicket& ticket) {
        ticket->service().collections(collectionId, maxResults, Telling(ticket), ticket->conduct);
    }));
}

ContentClient::PendingRecord<KCSDKOndemandClassResponse> ContentClient::classes(
    const ClassesPage& page) const {
    return PendingRecord<KCSDKOndemandClassResponse>(begin([&](const HeldTicket& ticket) {
        ticket->service().classes(page, Telling(ticket), ticket->conduct);
    }));
}

ContentClient::PendingRecord<KCSDKOndemandClass> ContentClient::classDetails(
    const std::string& classTag) const {
    return PendingRecord<KCSDKOndemandClass>(begin([&](const HeldTicket& ticket) {
        ticket->service().classDetails(classTag, Telling(ticket), ticket->conduct);
    }));
}

ContentClient::PendingRecord<KCSDKOndemandMetaData> ContentClient::metaData() const {
    return PendingRecord<KCSDKOndemandMetaData>(begin([](const HeldTicket& ticket) {
        ticket->service().metaData(Telling(ticket), ticket->conduct);
    }));
}

ContentClient::PendingRecord<KCSDKOndemandSearchResult> ContentClient::search(
    const KCSDKOndemandFilterRequest& filter) const {
    return PendingRecord<KCSDKOndemandSearchResult>(begin([&](const HeldTicket& ticket) {
        ticket->service().search(filter, Telling(ticket), ticket->conduct);
    }));
}

Pending<Done> ContentClient::activateSubscription(
    const KCSDKUserSubscriptionRequest& subscription) const {
    return Pending<Done>(begin([&](const HeldTicket& ticket) {
        ticket->service().activateSubscription(subscription, Telling(ticket), ticket->conduct);
    }));
}

Pending<Done> ContentClient::cancelSubscription() const {
    return Pending<Done>(begin([](const HeldTicket& ticket) {
        ticket->service().cancelSubscription(Telling(ticket), ticket->conduct);
    }));
}

ContentClient::PendingRecord<KCSDKOndemandClass> ContentClient::perform(
    const std::string& classTag) const {
    return PendingRecord<KCSDKOndemandClass>(begin([&](const HeldTicket& ticket) {
        ticket->service().perform(classTag, Telling(ticket), ticket->conduct);
    }));
}

Pending<Done> ContentClient::recordPerformance(const KCSDKOndemandClass& ondemandClass,
                                               std::int64_t performedSeconds) const {
    return Pending<Done>(begin([&](const HeldTicket& ticket) {
        const auto& service = ticket->service();
        const auto request = service.performance(ondemandClass, performedSeconds);
        if (!request) return ticket->failed({.reason = Failure::Reason::unusableBaseURL});
        if (outbox_)
            return outbox_->deliver(ticket->manager, *request, ticket, Telling(ticket), {});
        service.record(*request, Telling(ticket), ticket->conduct);
    }));
}

std::size_t ContentClient::waitingPerformances() const {
    const auto manager = managerInForce();
    return manager && outbox_ ? outbox_->waiting(manager) : 0;
}

ContentClient::PendingRecord<KCSDKOndemandContentToken> ContentClient::contentToken(
    const std::string& contentId) const {
    return PendingRecord<KCSDKOndemandContentToken>(begin([&](const HeldTicket& ticket) {
        ticket->service().contentToken(contentId, Telling(ticket), ticket->conduct);
    }));
}

}  // namespace korvel
