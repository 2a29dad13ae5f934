#include <korvel/client/ContentClient.h>
#include <korvel/client/MemoryKeychain.h>
#include <korvel/client/OperationConduct.h>
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

/// Calls `operation(operations, handler, conduct)`; a pending operation keeps alive what it needs.
template <class T, class Begin> Pending<T> ContentClient::begin(Begin operation) const {
    return beginOn<T>([&](const auto& manager, auto done, auto& conduct) {
        operation(manager->operations(), std::move(done), conduct);
    });
}

/// The same with the manager, whose operations they are.
template <class T, class Begin> Pending<T> ContentClient::beginOn(Begin operation) const {
    const auto conduct = std::make_shared<OperationConduct>(surroundings_);
    const auto state = std::make_shared<PendingState<T>>(conduct);
    const auto manager = managerInForce();
    if (!manager) {
        state->end(Failure{.reason = Failure::Reason::notInitialised});
        return Pending<T>(state);
    }
    state->endWithin(options_.deadline);
    operation(
        manager,
        [manager, outbox = outbox_, tell = telling(state)](Outcome<T> outcome) {
            const bool answered = outcome.hasValue();
            tell(std::move(outcome));
            if (answered && outbox) outbox->answered(manager);
        },
        conduct);
    return Pending<T>(state);
}

namespace {

/// On the main queue.
void startPlaying(const std::shared_ptr<KCSDKOndemandClass>& ondemandClass,
                  const PlayOptions& options, const std::shared_ptr<KCSDKNetworkManager>& manager,
                  const std::shared_ptr<Outbox>& outbox,
                  const std::shared_ptr<KnownServers>& servers,
                  const std::shared_ptr<Conduct>& conduct,
                  OutcomeHandler<std::shared_ptr<Playback>> done) {
    const auto& device = Device::current();
    const auto builder = KCSDKVideoViewBuilder::create(ondemandClass);
    if (options.look) options.look(*builder);
    if (options.listener) builder->setEventReceiver(options.listener);
    const auto watch = std::make_shared<Playback::Watch>(device, options);
    KCSDKVideoViewBuilder::Direction direction;
    direction.manager = manager;
    direction.conduct = conduct;
    direction.endsWithoutStream = true;
    direction.answered = [watch] { watch->performed(); };
    if (options.prefetch) direction.tokens = std::make_shared<TokenPrefetch>(device.clock, servers);
    const auto tokens = direction.tokens;
    direction.done = [watch, done = std::move(done)](
                         const Outcome<std::shared_ptr<KCSDKPlayerEvents>>& started) {
        if (!started) return done(started.failure());
        watch->follow((*started)->playerVC->viewVideo);
        done(std::make_shared<Playback>(Device::current(), watch, *started));
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
    return beginOn<std::shared_ptr<Playback>>([&](const auto& manager, auto done, auto& conduct) {
        if (!ondemandClass) return done(Failure{.reason = Failure::Reason::missingArgument});
        surroundings_->mainQueue->async([ondemandClass, options = std::move(options), manager,
                                         outbox = outbox_, servers = servers_, conduct, done] {
            if (conduct->isOver()) return;
            startPlaying(ondemandClass, options, manager, outbox, servers, conduct, done);
        });
    });
}

ContentClient::PendingRecord<KCSDKUser> ContentClient::logIn(const std::string& userName) const {
    return begin<std::shared_ptr<KCSDKUser>>(
        [&](auto& service, auto done, auto& conduct) { service.logIn(userName, done, conduct); });
}

ContentClient::PendingList<KCSDKConsent> ContentClient::consents() const {
    return begin<RecordList<KCSDKConsent>>(
        [](auto& service, auto done, auto& conduct) { service.consents(done, conduct); });
}

Pending<Done> ContentClient::acceptConsent(const std::string& tag) const {
    return begin<Done>([&](auto& service, auto done, auto& conduct) {
        service.acceptConsent(tag, done, conduct);
    });
}

ContentClient::PendingList<KCSDKOndemandCollection> ContentClient::collections(
    const std::optional<std::string>& collectionId, std::int64_t maxResults) const {
    return begin<RecordList<KCSDKOndemandCollection>>([&](auto& service, auto done, auto& conduct) {
        service.collections(collectionId, maxResults, done, conduct);
    });
}

ContentClient::PendingRecord<KCSDKOndemandClassResponse> ContentClient::classes(
    const ClassesPage& page) const {
    return begin<std::shared_ptr<KCSDKOndemandClassResponse>>(
        [&](auto& service, auto done, auto& conduct) { service.classes(page, done, conduct); });
}

ContentClient::PendingRecord<KCSDKOndemandClass> ContentClient::classDetails(
    const std::string& classTag) const {
    return begin<std::shared_ptr<KCSDKOndemandClass>>([&](auto& service, auto done, auto& conduct) {
        service.classDetails(classTag, done, conduct);
    });
}

ContentClient::PendingRecord<KCSDKOndemandMetaData> ContentClient::metaData() const {
    return begin<std::shared_ptr<KCSDKOndemandMetaData>>(
        [](auto& service, auto done, auto& conduct) { service.metaData(done, conduct); });
}

ContentClient::PendingRecord<KCSDKOndemandSearchResult> ContentClient::search(
    const KCSDKOndemandFilterRequest& filter) const {
    return begin<std::shared_ptr<KCSDKOndemandSearchResult>>(
        [&](auto& service, auto done, auto& conduct) { service.search(filter, done, conduct); });
}

Pending<Done> ContentClient::activateSubscription(
    const KCSDKUserSubscriptionRequest& subscription) const {
    return begin<Done>([&](auto& service, auto done, auto& conduct) {
        service.activateSubscription(subscription, done, conduct);
    });
}

Pending<Done> ContentClient::cancelSubscription() const {
    return begin<Done>(
        [](auto& service, auto done, auto& conduct) { service.cancelSubscription(done, conduct); });
}

ContentClient::PendingRecord<KCSDKOndemandClass> ContentClient::perform(
    const std::string& classTag) const {
    return begin<std::shared_ptr<KCSDKOndemandClass>>(
        [&](auto& service, auto done, auto& conduct) { service.perform(classTag, done, conduct); });
}

Pending<Done> ContentClient::recordPerformance(const KCSDKOndemandClass& ondemandClass,
                                               std::int64_t performedSeconds) const {
    return beginOn<Done>([&](const auto& manager, auto done, auto& conduct) {
        const auto& service = manager->operations();
        const auto request = service.performance(ondemandClass, performedSeconds);
        if (!request) return done(Failure{.reason = Failure::Reason::unusableBaseURL});
        if (outbox_) return outbox_->deliver(manager, *request, conduct, std::move(done), {});
        service.record(*request, std::move(done), conduct);
    });
}

std::size_t ContentClient::waitingPerformances() const {
    const auto manager = managerInForce();
    return manager && outbox_ ? outbox_->waiting(manager) : 0;
}

ContentClient::PendingRecord<KCSDKOndemandContentToken> ContentClient::contentToken(
    const std::string& contentId) const {
    return begin<std::shared_ptr<KCSDKOndemandContentToken>>(
        [&](auto& service, auto done, auto& conduct) {
            service.contentToken(contentId, done, conduct);
        });
}

}  // namespace korvel
