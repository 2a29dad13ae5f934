#import <KorvelContentSDK/KCSDKObject.h>

// The records. Every member is a property of its name: texts and lists that the service may leave
// out are nil then, which is another thing than empty. A property returns a new text or list at
// each reading; the records in a list are the same objects. Setting replaces. A list that holds
// something else than its records raises NSInvalidArgumentException. Not for two threads at once.

NS_ASSUME_NONNULL_BEGIN

/// Where the service is and who asks. The SDK keeps the host's own object, so a later change of a
/// property counts from the next call on.
KORVEL_OBJC_API
@interface KCSDKConfig : KCSDKObject
- (instancetype)initWithBaseURL:(NSString*)baseURL
                      secretKey:(NSString*)secretKey
                         apiKey:(NSString*)apiKey
                       tenantId:(NSString*)tenantId
                  localyticsKey:(NSString*)localyticsKey;
@property(nonatomic, copy) NSString* baseURL;
@property(nonatomic, copy) NSString* secretKey;
@property(nonatomic, copy) NSString* apiKey;
@property(nonatomic, copy) NSString* tenantID;
@property(nonatomic, copy) NSString* localyticsKey;
@property(nonatomic, copy) NSString* countryCode;  ///< written by +[KCSDK initializeWithConfig:]
@end

/// A class of the catalogue. `className` hides NSObject's own of that name.
KORVEL_OBJC_API
@interface KCSDKOndemandClass : KCSDKObject
@property(nonatomic, copy) NSString* tag;
@property(nonatomic, copy) NSString* className;
@property(nonatomic, copy) NSString* classDescription;
@property(nonatomic, copy, nullable) NSString* classCategories;
@property(nonatomic, copy, nullable) NSString* languageTag;
@property(nonatomic, copy, nullable) NSString* languageName;
@property(nonatomic, copy, nullable) NSString* providerID;
@property(nonatomic, copy, nullable) NSString* provider;
@property(nonatomic) int64_t intensity;
@property(nonatomic) int64_t skill;
@property(nonatomic, copy, nullable) NSNumber* calorieBurn;
@property(nonatomic) int64_t durationSecond;
@property(nonatomic, copy) NSString* durationMinutes;
@property(nonatomic, copy, nullable) NSArray* equipmentNames;  ///< of NSString
@property(nonatomic) BOOL equipmentTypes;
@property(nonatomic, copy) NSString* creationDate;
@property(nonatomic, copy) NSString* lastModifiedDate;
@property(nonatomic) BOOL favourite;
@property(nonatomic, copy, nullable) NSString* trailerLinkMobile;
@property(nonatomic, copy, nullable) NSString* trailerName;
@property(nonatomic, copy, nullable) NSString* imageLink;
@property(nonatomic, copy, nullable) NSString* streamingLink;
@end

/// A page of classes.
KORVEL_OBJC_API
@interface KCSDKOndemandClassResponse : KCSDKObject
@property(nonatomic) int64_t totalItems;
@property(nonatomic) int64_t itemsRemaining;
@property(nonatomic, copy) NSArray* items;  ///< of KCSDKOndemandClass
@end

/// A named group of classes.
KORVEL_OBJC_API
@interface KCSDKOndemandCollection : KCSDKObject
@property(nonatomic, copy) NSString* collectionType;
@property(nonatomic, copy) NSString* collectionName;
@property(nonatomic, copy) NSString* collectionTag;
@property(nonatomic, copy) NSString* creationDate;
@property(nonatomic) int64_t itemCount;
@property(nonatomic, copy, nullable) NSArray* collectionItems;  ///< of KCSDKOndemandClass
@end

/// A range, both ends included. A value.
typedef struct MinMaxType {
    int64_t min;
    int64_t max;
} MinMaxType;

/// A choice of a class filter. A value: changing one of a list changes nothing until the list is
/// set.
KORVEL_OBJC_API
@interface ValueType : NSObject <NSCopying> {
@private
    NSString* _text;
    NSString* _value;
}
- (instancetype)initWithText:(NSString*)text value:(NSString*)value;
@property(nonatomic, copy) NSString* text;
@property(nonatomic, copy) NSString* value;
@end

/// The values by which classes can be filtered.
KORVEL_OBJC_API
@interface KCSDKOndemandMetaData : KCSDKObject
@property(nonatomic, copy) NSArray* classTypes;  ///< of NSString
@property(nonatomic, copy) NSArray* equipments;  ///< of ValueType
@property(nonatomic, copy) NSArray* language;    ///< of ValueType
@property(nonatomic, copy) NSArray* providers;   ///< of NSString
@property(nonatomic) MinMaxType duration;
@property(nonatomic) MinMaxType intensity;
@end

/// A search. Sent as it is set: nil members are left out, empty ones are sent empty.
KORVEL_OBJC_API
@interface KCSDKOndemandFilterRequest : KCSDKObject
- (instancetype)init;
@property(nonatomic, copy, nullable) NSString* classLanguage;
@property(nonatomic, copy, nullable) NSString* dir;
@property(nonatomic, copy, nullable) NSString* duration;
@property(nonatomic, copy, nullable) NSString* equipment;
@property(nonatomic, copy, nullable) NSString* intensity;
@property(nonatomic, copy, nullable) NSString* keywords;
@property(nonatomic, copy, nullable) NSString* level;
@property(nonatomic, copy, nullable) NSString* provider;
@property(nonatomic) int64_t skip;  ///< 0 at first
@property(nonatomic, copy, nullable) NSString* sort;
@property(nonatomic, copy, nullable) NSString* type;
@property(nonatomic) int64_t take;  ///< 100 at first
@property(nonatomic, copy, nullable) NSString* query;
@end

/// A class that was found.
KORVEL_OBJC_API
@interface KCSDKSearchItem : KCSDKObject
@property(nonatomic, copy) NSString* equipmentTypes;
@property(nonatomic, copy) NSString* classTag;
@property(nonatomic, strong) KCSDKOndemandClass* virtualClass;  ///< never nil: setting that raises
@end

/// A page of them.
KORVEL_OBJC_API
@interface KCSDKOndemandSearchResult : KCSDKObject
@property(nonatomic) int64_t total;
@property(nonatomic) int64_t itemsRemaining;
@property(nonatomic, copy) NSArray* items;  ///< of KCSDKSearchItem
@end

/// A link of a consent document.
KORVEL_OBJC_API
@interface LinkDetail : KCSDKObject
@property(nonatomic, copy) NSString* linkText;
@property(nonatomic, copy) NSString* linkUrl;
@end

/// A document that the user accepts by +[KCSDK acceptConsentWithTag:completionBlock:].
KORVEL_OBJC_API
@interface KCSDKConsent : KCSDKObject
@property(nonatomic, copy) NSString* policy;
@property(nonatomic, copy) NSString* consentTag;
@property(nonatomic) BOOL actionable;
@property(nonatomic, copy) NSArray* urls;  ///< of LinkDetail
@property(nonatomic, copy) NSString* policyHtml;
@property(nonatomic, copy) NSString* title;
@property(nonatomic) int64_t version;
@property(nonatomic, copy) NSString* publishedDate;
@property(nonatomic) BOOL isMandatory;
@end

/// A subscription of the host's making, from an instant on, under the host's own identifier.
KORVEL_OBJC_API
@interface KCSDKUserSubscriptionRequest : KCSDKObject
/// Written in the device's time zone. Takes the standard device for good if none is installed.
- (instancetype)initWithStartDate:(NSDate*)startDate subscriptionId:(NSString*)subscriptionId;
@property(nonatomic, copy) NSString* start;
@property(nonatomic, copy) NSString* subscriptionId;
@end

/// Short-lived credential that the key server wants to see.
KORVEL_OBJC_API
@interface KCSDKOndemandContentToken : KCSDKObject
@property(nonatomic, copy) NSString* token;
@end

/// A content key as a record.
KORVEL_OBJC_API
@interface KCSDKOndemandCkcToken : KCSDKObject
@property(nonatomic, copy) NSString* key;
@end

/// The service's answer to a log-in.
KORVEL_OBJC_API
@interface KCSDKUser : KCSDKObject
- (instancetype)init;
@property(nonatomic, copy) NSString* username;
@property(nonatomic, copy) NSString* userId;
@property(nonatomic, copy) NSString* code;
@property(nonatomic) double tokenExpiration;
@end

NS_ASSUME_NONNULL_END
