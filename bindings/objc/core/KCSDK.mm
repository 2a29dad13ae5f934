#import "KCValues.h"

#include <korvel/network/KCSDKNetworkManager.h>

#include <mutex>

using kc::completion;
using kc::text;

namespace {
std::optional<std::string> optionalText(NSString* from) { return kc::optional<std::string>(from); }
}  // namespace

@implementation KCSDKNetworkManager

+ (KCSDKNetworkManager*)shared {
    static KCSDKNetworkManager* shared = nil;
    static std::once_flag once;
    std::call_once(once, [] { shared = NSAllocateObject([KCSDKNetworkManager class], 0, NULL); });
    return shared;
}
- (instancetype)init {
    kc::noInit(self);
}
- (KCSDKConfig*)sdkConfig {
    return kc::toNS(korvel::KCSDKNetworkManager::shared()->sdkConfig());
}
- (void)setSdkConfig:(KCSDKConfig*)config {
    if (!config) return;
    korvel::KCSDKNetworkManager::shared()->setSdkConfig(kc::record<korvel::KCSDKConfig>(config));
}

@end

@implementation KCSDK

+ (KCSDK*)shared {
    static KCSDK* shared = nil;
    static std::once_flag once;
    std::call_once(once, [] { shared = NSAllocateObject([KCSDK class], 0, NULL); });
    return shared;
}
- (instancetype)init {
    kc::noInit(self);
}
- (BOOL)enablefullscreenVideo {
    return korvel::KCSDK::shared().enablefullscreenVideo;
}
- (void)setEnablefullscreenVideo:(BOOL)shown {
    korvel::KCSDK::shared().enablefullscreenVideo = shown != NO;
}
- (KCSDKNetworkManager*)networkManager {
    return korvel::KCSDK::shared().networkManager() ? [KCSDKNetworkManager shared] : nil;
}

+ (void)initializeWithConfig:(KCSDKConfig*)config {
    korvel::KCSDK::initialize(kc::record<korvel::KCSDKConfig>(config));
}
+ (void)startSessionWithUserName:(NSString*)userName
                 completionBlock:(KCSDKErrorBlock)completionBlock {
    korvel::KCSDK::startSession(text(userName), completion(completionBlock));
}
+ (void)getConsentWithCompletionBlock:(KCSDKListBlock)completionBlock {
    korvel::KCSDK::getConsent(completion(completionBlock));
}
+ (void)acceptConsentWithTag:(NSString*)tag completionBlock:(KCSDKErrorBlock)completionBlock {
    korvel::KCSDK::acceptConsent(text(tag), completion(completionBlock));
}
+ (void)getOndemandCollectionsWithCollectionId:(NSString*)collectionId
                                    maxResults:(int64_t)maxResults
                               completionBlock:(KCSDKListBlock)completionBlock {
    korvel::KCSDK::getOndemandCollections(optionalText(collectionId), maxResults,
                                          completion(completionBlock));
}
+ (void)getOndemandClassesWithPage:(int64_t)page
                          pageSize:(int64_t)pageSize
                              sort:(NSString*)sort
                             order:(NSString*)order
                   completionBlock:(KCSDKClassResponseBlock)completionBlock {
    korvel::KCSDK::getOndemandClasses(page, pageSize, optionalText(sort), optionalText(order),
                                      completion(completionBlock));
}
+ (void)getOndemandClassDetailsFor:(NSString*)classTag
                   completionBlock:(KCSDKClassBlock)completionBlock {
    korvel::KCSDK::getOndemandClassDetails(text(classTag), completion(completionBlock));
}
+ (void)getOndemandMetaDataWithCompletionBlock:(KCSDKMetaDataBlock)completionBlock {
    korvel::KCSDK::getOndemandMetaData(completion(completionBlock));
}
+ (void)getOndemandClassesForCriteriaWith:(KCSDKOndemandFilterRequest*)request
                          completionBlock:(KCSDKSearchResultBlock)completionBlock {
    korvel::KCSDK::getOndemandClassesForCriteria(
        kc::record<korvel::KCSDKOndemandFilterRequest>(request), completion(completionBlock));
}
+ (void)activateSubscriptionWithSubscription:(KCSDKUserSubscriptionRequest*)subscription
                             completionBlock:(KCSDKErrorBlock)completionBlock {
    korvel::KCSDK::activateSubscription(
        kc::record<korvel::KCSDKUserSubscriptionRequest>(subscription),
        completion(completionBlock));
}
+ (void)cancelSubscriptionWithCompletionBlock:(KCSDKErrorBlock)completionBlock {
    korvel::KCSDK::cancelSubscription(completion(completionBlock));
}

@end
