#import <KorvelContentSDK/KCSDKRecords.h>

NS_ASSUME_NONNULL_BEGIN

typedef void (^KCSDKErrorBlock)(NSError* _Nullable error);
typedef void (^KCSDKListBlock)(NSArray* _Nullable records, NSError* _Nullable error);
typedef void (^KCSDKClassResponseBlock)(KCSDKOndemandClassResponse* _Nullable response,
                                        NSError* _Nullable error);
typedef void (^KCSDKClassBlock)(KCSDKOndemandClass* _Nullable ondemandClass,
                                NSError* _Nullable error);
typedef void (^KCSDKMetaDataBlock)(KCSDKOndemandMetaData* _Nullable metaData,
                                   NSError* _Nullable error);
typedef void (^KCSDKSearchResultBlock)(KCSDKOndemandSearchResult* _Nullable result,
                                       NSError* _Nullable error);

/// The service client, one for the process. Any thread.
KORVEL_OBJC_API
@interface KCSDKNetworkManager : NSObject
+ (KCSDKNetworkManager*)shared;
- (instancetype)init KCSDK_NO_INIT;
/// The very object in force; empty texts before the first. Setting nil is ignored.
@property(nonatomic, strong) KCSDKConfig* sdkConfig;
@end

/// The one door for everything but playback: `initializeWithConfig:` once, then
/// `startSessionWithUserName:completionBlock:`, then the rest. Any thread.
///
/// Blocks are copied, called on background threads at most once, and let go of with the exchange,
/// called or not; nil is allowed. What one throws ends the process.
/// - before `initializeWithConfig:`: never called, nothing is sent;
/// - base URL is no absolute address: called at once, with an error of empty domain and code 0;
/// - no connection, a broken or timed-out one, TLS failure: never called;
/// - HTTP status other than 200 and 201: an error of domain "SDK" with the status as code, whose
///   userInfo holds "message" (NSString) and "data" (NSData);
/// - 200 or 201 with a body that is no such record: called with neither record nor error.
KORVEL_OBJC_API
@interface KCSDK : NSObject
+ (KCSDK*)shared;
- (instancetype)init KCSDK_NO_INIT;
/// Whether a player was shown full screen last. Read it; writing is the player's.
@property(nonatomic) BOOL enablefullscreenVideo;
/// nil until `initializeWithConfig:` has run.
@property(nonatomic, readonly, nullable) KCSDKNetworkManager* networkManager;

/// Takes the very object, writes the device's region into its `countryCode`, starts analytics, and
/// deletes everything in the application's keychain. nil is ignored.
+ (void)initializeWithConfig:(KCSDKConfig*)config;
/// Goes out half a second later, from the main queue. No error says only that an answer came.
+ (void)startSessionWithUserName:(NSString*)userName
                 completionBlock:(nullable KCSDKErrorBlock)completionBlock;
/// Of KCSDKConsent.
+ (void)getConsentWithCompletionBlock:(nullable KCSDKListBlock)completionBlock;
+ (void)acceptConsentWithTag:(NSString*)tag
             completionBlock:(nullable KCSDKErrorBlock)completionBlock;
/// Of KCSDKOndemandCollection. `collectionId` nil: all. `maxResults` below 1: as many as the
/// service likes.
+ (void)getOndemandCollectionsWithCollectionId:(nullable NSString*)collectionId
                                    maxResults:(int64_t)maxResults
                               completionBlock:(nullable KCSDKListBlock)completionBlock;
/// Pages count from 1. nil `sort` is "alpha", nil `order` "asc".
+ (void)getOndemandClassesWithPage:(int64_t)page
                          pageSize:(int64_t)pageSize
                              sort:(nullable NSString*)sort
                             order:(nullable NSString*)order
                   completionBlock:(nullable KCSDKClassResponseBlock)completionBlock;
/// Neither record nor error: the service knows no such class.
+ (void)getOndemandClassDetailsFor:(NSString*)classTag
                   completionBlock:(nullable KCSDKClassBlock)completionBlock;
+ (void)getOndemandMetaDataWithCompletionBlock:(nullable KCSDKMetaDataBlock)completionBlock;
/// The request is read before the call returns. nil: an error of empty domain and code 0 at once.
+ (void)getOndemandClassesForCriteriaWith:(KCSDKOndemandFilterRequest*)request
                          completionBlock:(nullable KCSDKSearchResultBlock)completionBlock;
/// nil: an error of empty domain and code 0 at once.
+ (void)activateSubscriptionWithSubscription:(KCSDKUserSubscriptionRequest*)subscription
                             completionBlock:(nullable KCSDKErrorBlock)completionBlock;
+ (void)cancelSubscriptionWithCompletionBlock:(nullable KCSDKErrorBlock)completionBlock;
@end

NS_ASSUME_NONNULL_END
