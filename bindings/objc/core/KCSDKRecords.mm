#import "KCValues.h"

// What the superclass declares under these names is something else.
#pragma clang diagnostic ignored "-Wproperty-attribute-mismatch"

@implementation KCSDKConfig
- (instancetype)initWithBaseURL:(NSString*)baseURL
                      secretKey:(NSString*)secretKey
                         apiKey:(NSString*)apiKey
                       tenantId:(NSString*)tenantId
                  localyticsKey:(NSString*)localyticsKey {
    using kc::text;
    return [self initWithCore:std::make_shared<korvel::KCSDKConfig>(text(baseURL), text(secretKey),
                                                                    text(apiKey), text(tenantId),
                                                                    text(localyticsKey))];
}
#define Core korvel::KCSDKConfig
KC_MEMBER(NSString*, baseURL, setBaseURL)
KC_MEMBER(NSString*, secretKey, setSecretKey)
KC_MEMBER(NSString*, apiKey, setApiKey)
KC_MEMBER(NSString*, tenantID, setTenantID)
KC_MEMBER(NSString*, localyticsKey, setLocalyticsKey)
KC_MEMBER(NSString*, countryCode, setCountryCode)
#undef Core
@end

@implementation KCSDKOndemandClass
#define Core korvel::KCSDKOndemandClass
KC_MEMBER(NSString*, tag, setTag)
KC_MEMBER(NSString*, className, setClassName)
KC_MEMBER(NSString*, classDescription, setClassDescription)
KC_MEMBER(NSString*, classCategories, setClassCategories)
KC_MEMBER(NSString*, languageTag, setLanguageTag)
KC_MEMBER(NSString*, languageName, setLanguageName)
KC_MEMBER(NSString*, providerID, setProviderID)
KC_MEMBER(NSString*, provider, setProvider)
KC_MEMBER(int64_t, intensity, setIntensity)
KC_MEMBER(int64_t, skill, setSkill)
KC_MEMBER(NSNumber*, calorieBurn, setCalorieBurn)
KC_MEMBER(int64_t, durationSecond, setDurationSecond)
KC_MEMBER(NSString*, durationMinutes, setDurationMinutes)
KC_MEMBER(NSArray*, equipmentNames, setEquipmentNames)
KC_MEMBER(BOOL, equipmentTypes, setEquipmentTypes)
KC_MEMBER(NSString*, creationDate, setCreationDate)
KC_MEMBER(NSString*, lastModifiedDate, setLastModifiedDate)
KC_MEMBER(BOOL, favourite, setFavourite)
KC_MEMBER(NSString*, trailerLinkMobile, setTrailerLinkMobile)
KC_MEMBER(NSString*, trailerName, setTrailerName)
KC_MEMBER(NSString*, imageLink, setImageLink)
KC_MEMBER(NSString*, streamingLink, setStreamingLink)
#undef Core
@end

@implementation KCSDKOndemandClassResponse
#define Core korvel::KCSDKOndemandClassResponse
KC_MEMBER(int64_t, totalItems, setTotalItems)
KC_MEMBER(int64_t, itemsRemaining, setItemsRemaining)
KC_MEMBER(NSArray*, items, setItems)
#undef Core
@end

@implementation KCSDKOndemandCollection
#define Core korvel::KCSDKOndemandCollection
KC_MEMBER(NSString*, collectionType, setCollectionType)
KC_MEMBER(NSString*, collectionName, setCollectionName)
KC_MEMBER(NSString*, collectionTag, setCollectionTag)
KC_MEMBER(NSString*, creationDate, setCreationDate)
KC_MEMBER(int64_t, itemCount, setItemCount)
KC_MEMBER(NSArray*, collectionItems, setCollectionItems)
#undef Core
@end

@implementation ValueType
- (instancetype)init {
    return [self initWithText:@"" value:@""];
}
- (instancetype)initWithText:(NSString*)text value:(NSString*)value {
    if ((self = [super init])) {
        _text = [text copy];
        _value = [value copy];
    }
    return self;
}
- (void)dealloc {
    [_text release];
    [_value release];
    [super dealloc];
}
- (id)copyWithZone:(NSZone*)zone {
    return [[[self class] allocWithZone:zone] initWithText:_text value:_value];
}
- (NSString*)text {
    return _text ? _text : @"";
}
- (NSString*)value {
    return _value ? _value : @"";
}
- (void)setText:(NSString*)text {
    [_text autorelease];
    _text = [text copy];
}
- (void)setValue:(NSString*)value {
    [_value autorelease];
    _value = [value copy];
}
- (BOOL)isEqual:(id)other {
    return [other isKindOfClass:[ValueType class]] &&
           [[self text] isEqual:[(ValueType*)other text]] &&
           [[self value] isEqual:[(ValueType*)other value]];
}
- (NSUInteger)hash {
    return [[self text] hash] ^ [[self value] hash];
}
@end

namespace kc {
ValueType* toNS(const korvel::ValueType& value) {
    return [[[ValueType alloc] initWithText:toNS(value.text) value:toNS(value.value)] autorelease];
}
void take(ValueType* from, korvel::ValueType& to) {
    if (![from isKindOfClass:[::ValueType class]]) refuse(@"no ValueType:", from);
    to = {text([from text]), text([from value])};
}
}  // namespace kc

@implementation KCSDKOndemandMetaData
#define Core korvel::KCSDKOndemandMetaData
KC_MEMBER(NSArray*, classTypes, setClassTypes)
KC_MEMBER(NSArray*, equipments, setEquipments)
KC_MEMBER(NSArray*, language, setLanguage)
KC_MEMBER(NSArray*, providers, setProviders)
KC_MEMBER(MinMaxType, duration, setDuration)
KC_MEMBER(MinMaxType, intensity, setIntensity)
#undef Core
@end

@implementation KCSDKOndemandFilterRequest
#define Core korvel::KCSDKOndemandFilterRequest
- (instancetype)init {
    return [self initWithCore:std::make_shared<Core>()];
}
KC_MEMBER(NSString*, classLanguage, setClassLanguage)
KC_MEMBER(NSString*, dir, setDir)
KC_MEMBER(NSString*, duration, setDuration)
KC_MEMBER(NSString*, equipment, setEquipment)
KC_MEMBER(NSString*, intensity, setIntensity)
KC_MEMBER(NSString*, keywords, setKeywords)
KC_MEMBER(NSString*, level, setLevel)
KC_MEMBER(NSString*, provider, setProvider)
KC_MEMBER(int64_t, skip, setSkip)
KC_MEMBER(NSString*, sort, setSort)
KC_MEMBER(NSString*, type, setType)
KC_MEMBER(int64_t, take, setTake)
KC_MEMBER(NSString*, query, setQuery)
#undef Core
@end

@implementation KCSDKSearchItem
#define Core korvel::KCSDKSearchItem
KC_MEMBER(NSString*, equipmentTypes, setEquipmentTypes)
KC_MEMBER(NSString*, classTag, setClassTag)
- (KCSDKOndemandClass*)virtualClass {
    return kc::toNS(kc::as<Core>(self).virtualClass);
}
- (void)setVirtualClass:(KCSDKOndemandClass*)virtualClass {
    if (!virtualClass) kc::refuse(@"a search item holds a class, not", virtualClass);
    kc::take(virtualClass, kc::as<Core>(self).virtualClass);
}
#undef Core
@end

@implementation KCSDKOndemandSearchResult
#define Core korvel::KCSDKOndemandSearchResult
KC_MEMBER(int64_t, total, setTotal)
KC_MEMBER(int64_t, itemsRemaining, setItemsRemaining)
KC_MEMBER(NSArray*, items, setItems)
#undef Core
@end

@implementation LinkDetail
#define Core korvel::LinkDetail
KC_MEMBER(NSString*, linkText, setLinkText)
KC_MEMBER(NSString*, linkUrl, setLinkUrl)
#undef Core
@end

@implementation KCSDKConsent
#define Core korvel::KCSDKConsent
KC_MEMBER(NSString*, policy, setPolicy)
KC_MEMBER(NSString*, consentTag, setConsentTag)
KC_MEMBER(BOOL, actionable, setActionable)
KC_MEMBER(NSArray*, urls, setUrls)
KC_MEMBER(NSString*, policyHtml, setPolicyHtml)
KC_MEMBER(NSString*, title, setTitle)
KC_MEMBER(int64_t, version, setVersion)
KC_MEMBER(NSString*, publishedDate, setPublishedDate)
KC_MEMBER(BOOL, isMandatory, setIsMandatory)
#undef Core
@end

@implementation KCSDKUserSubscriptionRequest
- (instancetype)initWithStartDate:(NSDate*)startDate subscriptionId:(NSString*)subscriptionId {
    return [self initWithCore:std::make_shared<korvel::KCSDKUserSubscriptionRequest>(
                                  kc::date(startDate), kc::text(subscriptionId))];
}
#define Core korvel::KCSDKUserSubscriptionRequest
KC_MEMBER(NSString*, start, setStart)
KC_MEMBER(NSString*, subscriptionId, setSubscriptionId)
#undef Core
@end

@implementation KCSDKOndemandContentToken
#define Core korvel::KCSDKOndemandContentToken
KC_MEMBER(NSString*, token, setToken)
#undef Core
@end

@implementation KCSDKOndemandCkcToken
#define Core korvel::KCSDKOndemandCkcToken
KC_MEMBER(NSString*, key, setKey)
#undef Core
@end

@implementation KCSDKUser
#define Core korvel::KCSDKUser
- (instancetype)init {
    return [self initWithCore:std::make_shared<Core>()];
}
KC_MEMBER(NSString*, username, setUsername)
KC_MEMBER(NSString*, userId, setUserId)
KC_MEMBER(NSString*, code, setCode)
KC_MEMBER(double, tokenExpiration, setTokenExpiration)
#undef Core
@end
