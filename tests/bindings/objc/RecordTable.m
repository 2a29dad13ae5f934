#import "RecordTable.h"

id sampleOf(enum Kind kind) {
    switch (kind) {
        case Text:
            return @"a text";
        case Number:
            return [NSNumber numberWithLongLong:1234567890123LL];
        case Truth:
            return [NSNumber numberWithBool:YES];
        case Texts:
            return [NSArray arrayWithObjects:@"one", @"", nil];
        case Classes:
            return [NSArray arrayWithObject:recordOfClass("KCSDKOndemandClass")];
        case Items:
            return [NSArray arrayWithObject:recordOfClass("KCSDKSearchItem")];
        case Links:
            return [NSArray arrayWithObject:recordOfClass("LinkDetail")];
        case Values:
            return [NSArray arrayWithObject:[[[ValueType alloc] initWithText:@"t"
                                                                       value:@"v"] autorelease]];
        case OneClass:
            return recordOfClass("KCSDKOndemandClass");
    }
    return nil;
}

// clang-format off
#define CONFIG(name) {"KCSDKConfig", name, Text}
#define CLASS(name, kind) {"KCSDKOndemandClass", name, kind}
#define PAGE(name, kind) {"KCSDKOndemandClassResponse", name, kind}
#define COLLECTION(name, kind) {"KCSDKOndemandCollection", name, kind}
#define META(name, kind) {"KCSDKOndemandMetaData", name, kind}
#define FILTER(name, kind) {"KCSDKOndemandFilterRequest", name, kind}
#define ITEM(name, kind) {"KCSDKSearchItem", name, kind}
#define RESULT(name, kind) {"KCSDKOndemandSearchResult", name, kind}
#define CONSENT(name, kind) {"KCSDKConsent", name, kind}
#define USER(name, kind) {"KCSDKUser", name, kind}
const struct RecordProperty recordTable[] = {
    CONFIG("baseURL"), CONFIG("secretKey"), CONFIG("apiKey"), CONFIG("tenantID"),
    CONFIG("localyticsKey"), CONFIG("countryCode"),
    CLASS("tag", Text), CLASS("className", Text), CLASS("classDescription", Text),
    CLASS("classCategories", Text), CLASS("languageTag", Text), CLASS("languageName", Text),
    CLASS("providerID", Text), CLASS("provider", Text), CLASS("intensity", Number),
    CLASS("skill", Number), CLASS("calorieBurn", Number), CLASS("durationSecond", Number),
    CLASS("durationMinutes", Text), CLASS("equipmentNames", Texts), CLASS("equipmentTypes", Truth),
    CLASS("creationDate", Text), CLASS("lastModifiedDate", Text), CLASS("favourite", Truth),
    CLASS("trailerLinkMobile", Text), CLASS("trailerName", Text), CLASS("imageLink", Text),
    CLASS("streamingLink", Text),
    PAGE("totalItems", Number), PAGE("itemsRemaining", Number), PAGE("items", Classes),
    COLLECTION("collectionType", Text), COLLECTION("collectionName", Text),
    COLLECTION("collectionTag", Text), COLLECTION("creationDate", Text),
    COLLECTION("itemCount", Number), COLLECTION("collectionItems", Classes),
    META("classTypes", Texts), META("equipments", Values), META("language", Values),
    META("providers", Texts),
    FILTER("classLanguage", Text), FILTER("dir", Text), FILTER("duration", Text),
    FILTER("equipment", Text), FILTER("intensity", Text), FILTER("keywords", Text),
    FILTER("level", Text), FILTER("provider", Text), FILTER("skip", Number), FILTER("sort", Text),
    FILTER("type", Text), FILTER("take", Number), FILTER("query", Text),
    ITEM("equipmentTypes", Text), ITEM("classTag", Text), ITEM("virtualClass", OneClass),
    RESULT("total", Number), RESULT("itemsRemaining", Number), RESULT("items", Items),
    {"LinkDetail", "linkText", Text}, {"LinkDetail", "linkUrl", Text},
    CONSENT("policy", Text), CONSENT("consentTag", Text), CONSENT("actionable", Truth),
    CONSENT("urls", Links), CONSENT("policyHtml", Text), CONSENT("title", Text),
    CONSENT("version", Number), CONSENT("publishedDate", Text), CONSENT("isMandatory", Truth),
    {"KCSDKUserSubscriptionRequest", "start", Text},
    {"KCSDKUserSubscriptionRequest", "subscriptionId", Text},
    {"KCSDKOndemandContentToken", "token", Text}, {"KCSDKOndemandCkcToken", "key", Text},
    USER("username", Text), USER("userId", Text), USER("code", Text),
    USER("tokenExpiration", Number),
    {"KCSDKPlayerViewModel", "ondemandContent", OneClass},
    {NULL, NULL, Text},
};
