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
KC_PROPERTIES(KCSDKConfig, baseURL, secretKey, apiKey, tenantID, localyticsKey, countryCode)
@end

@implementation KCSDKOndemandClass
KC_PROPERTIES(KCSDKOndemandClass, tag, className, classDescription, classCategories, languageTag,
              languageName, providerID, provider, intensity, skill, calorieBurn, durationSecond,
              durationMinutes, equipmentNames, equipmentTypes, creationDate, lastModifiedDate,
              favourite, trailerLinkMobile, trailerName, imageLink, streamingLink)
@end

@implementation KCSDKOndemandClassResponse
KC_PROPERTIES(KCSDKOndemandClassResponse, totalItems, itemsRemaining, items)
@end

@implementation KCSDKOndemandCollection
KC_PROPERTIES(KCSDKOndemandCollection, collectionType, collectionName, collectionTag, creationDate,
              itemCount, collectionItems)
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
KC_PROPERTIES(KCSDKOndemandMetaData, classTypes, equipments, language, providers, duration,
              intensity)
@end

@implementation KCSDKOndemandFilterRequest
#define Core korvel::KCSDKOndemandFilterRequest
- (instancetype)init {
    return [self initWithCore:std::make_shared<Core>()];
}
KC_PROPERTIES(KCSDKOndemandFilterRequest, classLanguage, dir, duration, equipment, intensity,
              keywords, level, provider, skip, sort, type, take, query)
#undef Core
@end

@implementation KCSDKSearchItem
#define Core korvel::KCSDKSearchItem
KC_PROPERTIES(KCSDKSearchItem, equipmentTypes, classTag)
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
KC_PROPERTIES(KCSDKOndemandSearchResult, total, itemsRemaining, items)
@end

@implementation LinkDetail
KC_PROPERTIES(LinkDetail, linkText, linkUrl)
@end

@implementation KCSDKConsent
KC_PROPERTIES(KCSDKConsent, policy, consentTag, actionable, urls, policyHtml, title, version,
              publishedDate, isMandatory)
@end

@implementation KCSDKUserSubscriptionRequest
- (instancetype)initWithStartDate:(NSDate*)startDate subscriptionId:(NSString*)subscriptionId {
    return [self initWithCore:std::make_shared<korvel::KCSDKUserSubscriptionRequest>(
                                  kc::date(startDate), kc::text(subscriptionId))];
}
KC_PROPERTIES(KCSDKUserSubscriptionRequest, start, subscriptionId)
@end

@implementation KCSDKOndemandContentToken
KC_PROPERTIES(KCSDKOndemandContentToken, token)
@end

@implementation KCSDKOndemandCkcToken
KC_PROPERTIES(KCSDKOndemandCkcToken, key)
@end

@implementation KCSDKUser
#define Core korvel::KCSDKUser
- (instancetype)init {
    return [self initWithCore:std::make_shared<Core>()];
}
KC_PROPERTIES(KCSDKUser, username, userId, code, tokenExpiration)
#undef Core
@end
