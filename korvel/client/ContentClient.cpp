#include <korvel/client/ClientSurroundings.h>
#include <korvel/client/ContentClient.h>
#include <korvel/client/MemoryKeychain.h>
#include <korvel/client/Outbox.h>
#include <korvel/client/PlaybackWatch.h>
#include <korvel/client/Ticket.h>
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
#include <korvel/player/KnownServers.h>
#include <korvel/sdk/KCSDK.h>
#include <korvel/session/KCSDKConfig.h>

#include <utility>

namespace korvel {

using platform::Device;

namespace {

/// What an operation is asked with.
struct Asked {
    const ServiceOperations& service;
    const BoxHandler& told;
    const std::shared_ptr<Conduct>& conduct;
};

/// The process's pool as an object that can be held: it lives as long as the process.
std::shared_ptr<platform::DispatchQueue> pool() {
    return {std::shared_ptr<void>(), &platform::DispatchQueue::global()};
}

std::shared_ptr<KCSDKNetworkManager> managerOn(Device device, std::shared_ptr<KCSDKConfig> config) {
    device.localytics->integrate(config->localyticsKey);
    device.localytics->setLoggingEnabled(false);
    device.localytics->openSession();
    if (auto region = device.locale->regionCode()) config->countryCode = std::move(*region);
    device.keychain = std::make_shared<MemoryKeychain>();
    auto manager = std::make_shared<KCSDKNetworkManager>(std::as_const(device));
    manager->setSdkConfig(std::move(config));
    return manager;
}

}  // namespace

struct ClientParts {
    const platform::Clock::Duration deadline;
    const std::shared_ptr<KCSDKNetworkManager> manager;  ///< null: that of `KCSDK`
    const std::shared_ptr<ClientSurroundings> surroundings;
    const std::shared_ptr<Outbox> outbox;  ///< null: off
    const std::shared_ptr<KnownServers> servers;

    ClientParts(const Device& device, std::shared_ptr<KCSDKNetworkManager> of,
                ClientOptions&& options)
        : deadline(options.deadline),
          manager(std::move(of)),
          surroundings(std::make_shared<ClientSurroundings>(
              device.clock, options.timers ? std::move(options.timers) : pool(), device.mainQueue,
              options.readRetries)),
          outbox(options.outbox && device.outbox
                     ? std::make_shared<Outbox>(device.outbox, surroundings, deadline,
                                                std::move(options.outboxObserver))
                     : nullptr),
          servers(std::make_shared<KnownServers>()) {}

    std::shared_ptr<KCSDKNetworkManager> managerInForce() const {
        return manager ? manager : KCSDK::shared().networkManager();
    }

    /// Of an operation that is over already if there is no manager to ask.
    std::shared_ptr<Ticket> ticket() const {
        auto ticket = std::make_shared<Ticket>(surroundings, managerInForce(), outbox);
        if (!ticket->manager)
            ticket->ended(failureFor(Failure::Reason::notInitialised));
        else
            ticket->pending->endWithin(deadline);
        return ticket;
    }

    /// Calls `operation`, if there is a manager to ask.
    template <class Operation>
    std::shared_ptr<PendingCore> begin(const Operation& operation) const {
        return begin([](const void* what,
                        const Asked& asked) { (*static_cast<const Operation*>(what))(asked); },
                     &operation);
    }
    std::shared_ptr<PendingCore> begin(void (*operation)(const void*, const Asked&),
                                       const void* what) const {
        const auto ticket = this->ticket();
        if (ticket->manager)
            operation(what, {ticket->manager->operations(), Ticket::telling(ticket), ticket});
        return ticket->pending;
    }
};

ContentClient::ContentClient(ClientOptions options)
    : parts_(std::make_unique<ClientParts>(Device::current(), nullptr, std::move(options))) {}

ContentClient::ContentClient(std::shared_ptr<KCSDKConfig> config, ClientOptions options)
    : ContentClient(Device::current(), std::move(config), std::move(options)) {}

ContentClient::ContentClient(const Device& device, std::shared_ptr<KCSDKConfig> config,
                             ClientOptions options)
    : parts_(std::make_unique<ClientParts>(device, managerOn(device, std::move(config)),
                                           std::move(options))) {}

ContentClient::~ContentClient() = default;

ContentClient::PendingRecord<Playback> ContentClient::play(
    const std::shared_ptr<KCSDKOndemandClass>& ondemandClass, PlayOptions options) const {
    auto ticket = parts_->ticket();
    auto pending = ticket->pending;
    if (!ondemandClass) ticket->ended(failureFor(Failure::Reason::missingArgument));
    if (!pending->isOver()) {
        auto watch =
            std::make_shared<PlaybackWatch>(Device::current(), ondemandClass, std::move(options),
                                            std::move(ticket), parts_->outbox);
        parts_->surroundings->mainQueue->async(
            [watch = std::move(watch), servers = parts_->servers] { watch->start(servers); });
    }
    return PendingRecord<Playback>(std::move(pending));
}

ContentClient::PendingRecord<KCSDKUser> ContentClient::logIn(const std::string& userName) const {
    return PendingRecord<KCSDKUser>(parts_->begin(
        [&](const Asked& asked) { asked.service.logIn(userName, asked.told, asked.conduct); }));
}

ContentClient::PendingList<KCSDKConsent> ContentClient::consents() const {
    return PendingList<KCSDKConsent>(parts_->begin(
        [](const Asked& asked) { asked.service.consents(asked.told, asked.conduct); }));
}

Pending<Done> ContentClient::acceptConsent(const std::string& tag) const {
    return Pending<Done>(parts_->begin(
        [&](const Asked& asked) { asked.service.acceptConsent(tag, asked.told, asked.conduct); }));
}

ContentClient::PendingList<KCSDKOndemandCollection> ContentClient::collections(
    const std::optional<std::string>& collectionId, std::int64_t maxResults) const {
    return PendingList<KCSDKOndemandCollection>(parts_->begin([&](const Asked& asked) {
        asked.service.collections(collectionId, maxResults, asked.told, asked.conduct);
    }));
}

ContentClient::PendingRecord<KCSDKOndemandClassResponse> ContentClient::classes(
    const ClassesPage& page) const {
    return PendingRecord<KCSDKOndemandClassResponse>(parts_->begin(
        [&](const Asked& asked) { asked.service.classes(page, asked.told, asked.conduct); }));
}

ContentClient::PendingRecord<KCSDKOndemandClass> ContentClient::classDetails(
    const std::string& classTag) const {
    return PendingRecord<KCSDKOndemandClass>(parts_->begin([&](const Asked& asked) {
        asked.service.classDetails(classTag, asked.told, asked.conduct);
    }));
}

ContentClient::PendingRecord<KCSDKOndemandMetaData> ContentClient::metaData() const {
    return PendingRecord<KCSDKOndemandMetaData>(parts_->begin(
        [](const Asked& asked) { asked.service.metaData(asked.told, asked.conduct); }));
}

ContentClient::PendingRecord<KCSDKOndemandSearchResult> ContentClient::search(
    const KCSDKOndemandFilterRequest& filter) const {
    return PendingRecord<KCSDKOndemandSearchResult>(parts_->begin(
        [&](const Asked& asked) { asked.service.search(filter, asked.told, asked.conduct); }));
}

Pending<Done> ContentClient::activateSubscription(
    const KCSDKUserSubscriptionRequest& subscription) const {
    return Pending<Done>(parts_->begin([&](const Asked& asked) {
        asked.service.activateSubscription(subscription, asked.told, asked.conduct);
    }));
}

Pending<Done> ContentClient::cancelSubscription() const {
    return Pending<Done>(parts_->begin(
        [](const Asked& asked) { asked.service.cancelSubscription(asked.told, asked.conduct); }));
}

ContentClient::PendingRecord<KCSDKOndemandClass> ContentClient::perform(
    const std::string& classTag) const {
    return PendingRecord<KCSDKOndemandClass>(parts_->begin(
        [&](const Asked& asked) { asked.service.perform(classTag, asked.told, asked.conduct); }));
}

Pending<Done> ContentClient::recordPerformance(const KCSDKOndemandClass& ondemandClass,
                                               std::int64_t performedSeconds) const {
    const auto ticket = parts_->ticket();
    if (!ticket->manager) return Pending<Done>(ticket->pending);
    const auto& service = ticket->manager->operations();
    const auto performance = service.performance(ondemandClass, performedSeconds);
    if (!performance)
        ticket->ended(failureFor(Failure::Reason::unusableBaseURL));
    else if (parts_->outbox)
        parts_->outbox->deliver(ticket->manager, performance->request, ticket,
                                Ticket::telling(ticket));
    else
        service.record(performance->request, Ticket::telling(ticket), ticket);
    return Pending<Done>(ticket->pending);
}

std::size_t ContentClient::waitingPerformances() const {
    const auto manager = parts_->managerInForce();
    return manager && parts_->outbox ? parts_->outbox->waiting(manager) : 0;
}

ContentClient::PendingRecord<KCSDKOndemandContentToken> ContentClient::contentToken(
    const std::string& contentId) const {
    return PendingRecord<KCSDKOndemandContentToken>(parts_->begin([&](const Asked& asked) {
        asked.service.contentToken(contentId, asked.told, asked.conduct);
    }));
}

}  // namespace korvel
