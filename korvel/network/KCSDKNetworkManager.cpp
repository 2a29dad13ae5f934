#include <korvel/model/KCSDKConsent.h>
#include <korvel/model/KCSDKOndemandClass.h>
#include <korvel/model/KCSDKOndemandClassResponse.h>
#include <korvel/model/KCSDKOndemandCollection.h>
#include <korvel/model/KCSDKOndemandContentToken.h>
#include <korvel/model/KCSDKOndemandFilterRequest.h>
#include <korvel/model/KCSDKOndemandMetaData.h>
#include <korvel/model/KCSDKOndemandSearchResult.h>
#include <korvel/model/KCSDKUser.h>
#include <korvel/model/KCSDKUserSubscriptionRequest.h>
#include <korvel/network/ContractAnswer.h>
#include <korvel/network/KCSDKNetworkManager.h>
#include <korvel/network/ServiceOperations.h>
#include <korvel/platform/Device.h>

#include <utility>

namespace korvel {

using platform::Device;

const std::shared_ptr<KCSDKNetworkManager>& KCSDKNetworkManager::shared() {
    // Never destroyed: answers may arrive while the process exits.
    static const auto& manager = *new std::shared_ptr<KCSDKNetworkManager>(
        std::make_shared<KCSDKNetworkManager>(Device::current()));
    return manager;
}

KCSDKNetworkManager::KCSDKNetworkManager(const Device& device,
                                         std::shared_ptr<const platform::JSONEncoder> encoder)
    : operations_(std::make_unique<const ServiceOperations>(device, std::move(encoder))) {}

KCSDKNetworkManager::~KCSDKNetworkManager() = default;

std::shared_ptr<KCSDKConfig> KCSDKNetworkManager::sdkConfig() const {
    return operations_->endpoints().sdkConfig();
}

void KCSDKNetworkManager::setSdkConfig(std::shared_ptr<KCSDKConfig> config) {
    operations_->endpoints().setSdkConfig(std::move(config));
}

void KCSDKNetworkManager::startSession(const std::string& userName, ErrorCompletion completion) {
    operations_->logIn(
        userName, completing<std::shared_ptr<KCSDKUser>>(std::move(completion), Contract::logIn));
}

void KCSDKNetworkManager::getConsent(ListCompletion<KCSDKConsent> completion) {
    operations_->consents(completing(std::move(completion)));
}

void KCSDKNetworkManager::acceptConsent(const std::string& tag, ErrorCompletion completion) {
    operations_->acceptConsent(tag, completing<Done>(std::move(completion)));
}

void KCSDKNetworkManager::getOndemandCollections(
    const std::optional<std::string>& collectionId, std::int64_t maxResults,
    ListCompletion<KCSDKOndemandCollection> completion) {
    operations_->collections(collectionId, maxResults, completing(std::move(completion)));
}

void KCSDKNetworkManager::getOndemandClasses(std::int64_t page, std::int64_t pageSize,
                                             const std::optional<std::string>& sort,
                                             const std::optional<std::string>& order,
                                             Completion<KCSDKOndemandClassResponse> completion) {
    operations_->classes({.page = page, .size = pageSize, .sort = sort, .order = order},
                         completing(std::move(completion)));
}

void KCSDKNetworkManager::getOndemandClassDetails(const std::string& classTag,
                                                  Completion<KCSDKOndemandClass> completion) {
    operations_->classDetails(classTag, completing(std::move(completion)));
}

void KCSDKNetworkManager::getOndemandMetaData(Completion<KCSDKOndemandMetaData> completion) {
    operations_->metaData(completing(std::move(completion)));
}

void KCSDKNetworkManager::getOndemandClassesForCriteria(
    const KCSDKOndemandFilterRequest& filter, Completion<KCSDKOndemandSearchResult> completion) {
    operations_->search(filter, completing(std::move(completion)));
}

void KCSDKNetworkManager::activateSubscription(const KCSDKUserSubscriptionRequest& subscription,
                                               ErrorCompletion completion) {
    operations_->activateSubscription(subscription, completing<Done>(std::move(completion)));
}

void KCSDKNetworkManager::cancelSubscription(ErrorCompletion completion) {
    operations_->cancelSubscription(completing<Done>(std::move(completion)));
}

void KCSDKNetworkManager::sendClassPerformance(const KCSDKOndemandClass& ondemandClass,
                                               std::int64_t performedSeconds) {
    const auto performance = operations_->performance(ondemandClass, performedSeconds);
    if (performance) operations_->record(performance->request, {});
}

void KCSDKNetworkManager::getContentToken(const std::string& contentId,
                                          Completion<KCSDKOndemandContentToken> completion) {
    operations_->contentToken(contentId, completing(std::move(completion)));
}

void KCSDKNetworkManager::performClass(const std::string& classTag,
                                       Completion<KCSDKOndemandClass> completion) {
    operations_->perform(classTag, completing(std::move(completion), Contract::perform));
}

}  // namespace korvel
