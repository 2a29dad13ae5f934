#include <korvel/network/KCSDKNetworkManager.h>
#include <korvel/platform/Device.h>
#include <korvel/sdk/KCSDK.h>
#include <korvel/session/KCSDKConfig.h>
#include <korvel/session/KCSDKKeyChain.h>

#include <utility>

namespace korvel {

namespace {
NSError missingArgument() { return {}; }
}  // namespace

KCSDK::KCSDK() = default;
KCSDK::~KCSDK() = default;

KCSDK& KCSDK::shared() {
    static KCSDK& instance =
        *new KCSDK;  // never destroyed: answers may arrive while the process exits
    return instance;
}

std::shared_ptr<KCSDKNetworkManager> KCSDK::networkManager() const {
    const std::lock_guard lock(mutex_);
    return networkManager_;
}

void KCSDK::initialize(std::shared_ptr<KCSDKConfig> config) {
    if (!config) return;
    const auto& device = platform::Device::current();
    const auto& manager = KCSDKNetworkManager::shared();
    manager->setSdkConfig(config);

    device.localytics->integrate(config->localyticsKey);
    device.localytics->setLoggingEnabled(false);
    device.localytics->openSession();

    KCSDKKeyChain(device.keychain, device.diagnostics).clear();

    if (auto region = device.locale->regionCode()) config->countryCode = std::move(*region);

    const std::lock_guard lock(shared().mutex_);
    shared().networkManager_ = manager;
}

void KCSDK::startSession(std::string userName, ErrorCompletion completionBlock) {
    if (const auto manager = shared().networkManager()) {
        manager->startSession(userName, std::move(completionBlock));
    }
}

void KCSDK::getConsent(ListCompletion<KCSDKConsent> completionBlock) {
    if (const auto manager = shared().networkManager()) {
        manager->getConsent(std::move(completionBlock));
    }
}

void KCSDK::acceptConsent(std::string tag, ErrorCompletion completionBlock) {
    if (const auto manager = shared().networkManager()) {
        manager->acceptConsent(tag, std::move(completionBlock));
    }
}

void KCSDK::getOndemandCollections(std::optional<std::string> collectionId, std::int64_t maxResults,
                                   ListCompletion<KCSDKOndemandCollection> completionBlock) {
    if (const auto manager = shared().networkManager()) {
        manager->getOndemandCollections(collectionId, maxResults, std::move(completionBlock));
    }
}

void KCSDK::getOndemandClasses(std::int64_t page, std::int64_t pageSize,
                               std::optional<std::string> sort, std::optional<std::string> order,
                               Completion<KCSDKOndemandClassResponse> completionBlock) {
    if (const auto manager = shared().networkManager()) {
        manager->getOndemandClasses(page, pageSize, sort, order, std::move(completionBlock));
    }
}

void KCSDK::getOndemandClassDetails(std::string classTag,
                                    Completion<KCSDKOndemandClass> completionBlock) {
    if (const auto manager = shared().networkManager()) {
        manager->getOndemandClassDetails(classTag, std::move(completionBlock));
    }
}

void KCSDK::getOndemandMetaData(Completion<KCSDKOndemandMetaData> completionBlock) {
    if (const auto manager = shared().networkManager()) {
        manager->getOndemandMetaData(std::move(completionBlock));
    }
}

void KCSDK::getOndemandClassesForCriteria(std::shared_ptr<KCSDKOndemandFilterRequest> request,
                                          Completion<KCSDKOndemandSearchResult> completionBlock) {
    const auto manager = shared().networkManager();
    if (!manager) return;
    if (request) {
        manager->getOndemandClassesForCriteria(*request, std::move(completionBlock));
    } else if (completionBlock) {
        completionBlock(nullptr, missingArgument());
    }
}

void KCSDK::activateSubscription(std::shared_ptr<KCSDKUserSubscriptionRequest> subscription,
                                 ErrorCompletion completionBlock) {
    const auto manager = shared().networkManager();
    if (!manager) return;
    if (subscription) {
        manager->activateSubscription(*subscription, std::move(completionBlock));
    } else if (completionBlock) {
        completionBlock(missingArgument());
    }
}

void KCSDK::cancelSubscription(ErrorCompletion completionBlock) {
    if (const auto manager = shared().networkManager()) {
        manager->cancelSubscription(std::move(completionBlock));
    }
}

}  // namespace korvel
