#import <KorvelContentSDK/KCSDKCore.h>

#import "Fixture.h"

#include "support/Samples.h"

#include <korvel/KorvelContentSDK.h>
#include <korvel/model/KCSDKOndemandCkcToken.h>
#include <korvel/model/KCSDKOndemandContentToken.h>
#include <korvel/model/KCSDKUser.h>
#include <korvel/platform/uikit/UIWindow.h>
#include <korvel/player/KCSDKPlayerOverlay.h>
#include <korvel/player/KCSDKPlayerViewController.h>

#include <objc/runtime.h>
#include <atomic>
#include <thread>

using korvel::tests::classJSON;

/// As the service's answers make it.
template <class Record> static id made(const std::string& json) {
    return KCSDKObjectOf(korvel::tests::decoded<Record>(json));
}
static id aClass() { return made<korvel::KCSDKOndemandClass>(classJSON("c")); }
static id aLink() { return made<korvel::LinkDetail>(R"({"linkText":"","linkUrl":""})"); }
static id anItem() {
    return made<korvel::KCSDKSearchItem>(R"({"equipmentTypes":"","classTag":"","virtualClass":)" +
                                         classJSON("c") + "}");
}
static id metaData() {
    return made<korvel::KCSDKOndemandMetaData>(
        R"({"classTypes":[],"equipments":[],"language":[],"providers":[],)"
        R"("duration":{"min":0,"max":1},"intensity":{"min":0,"max":1}})");
}
static id aModel() { return [[[KCSDKPlayerViewModel alloc] initWithContent:aClass()] autorelease]; }
static id aBuilder() {
    return [[[KCSDKVideoViewBuilder alloc] initWithOndemandClassInfo:aClass()] autorelease];
}
static id aView(Class cls) {
    return [[[cls alloc] initWithFrame:NSMakeRect(1, 2, 3, 4)] autorelease];
}

static NSArray* oneOfEach() {
    return @[
        makeConfig(@""),
        aClass(),
        made<korvel::KCSDKOndemandClassResponse>(korvel::tests::pageJSON("")),
        made<korvel::KCSDKOndemandCollection>(
            R"({"collectionType":"","collectionName":"","collectionTag":"","creationDate":"",)"
            R"("itemCount":0})"),
        metaData(),
        [[[KCSDKOndemandFilterRequest alloc] init] autorelease],
        anItem(),
        made<korvel::KCSDKOndemandSearchResult>(R"({"total":0,"itemsRemaining":0,"items":[]})"),
        aLink(),
        made<korvel::KCSDKConsent>(korvel::tests::consentJSON("c")),
        [[[KCSDKUserSubscriptionRequest alloc] initWithStartDate:[NSDate date]
                                                  subscriptionId:@""] autorelease],
        made<korvel::KCSDKOndemandContentToken>(R"({"token":""})"),
        made<korvel::KCSDKOndemandCkcToken>(R"({"key":""})"),
        [[[KCSDKUser alloc] init] autorelease],
        aModel(),
        aBuilder(),
        aView([KCSDKPlayerView class]),
        aView([UILabel class]),
        aView([UISlider class]),
        KCSDKObjectOf(korvel::platform::make<korvel::KCSDKPlayerOverlay>()),
        KCSDKObjectOf(korvel::platform::make<korvel::KCSDKPlayerViewController>())
    ];
}

/// What a property of that type may hold; what kind of object, its name tells.
static id sampleOf(KCSDKObject* record, NSString* key, const char* setter) {
    const char type =
        [[NSMethodSignature signatureWithObjCTypes:setter] getArgumentTypeAtIndex:2][0];
    if (type == '{' || [key isEqual:@"eventListner"]) return nil;
    if (type == @encode(BOOL)[0]) return [NSNumber numberWithBool:YES];
    if (type == @encode(int64_t)[0]) return @1234567890123LL;
    if (type == @encode(double)[0] || type == @encode(float)[0]) return @0.5;
    if ([key hasSuffix:@"Color"]) return [UIColor blackColor];
    if ([key hasSuffix:@"Image"]) return [aBuilder() closeImage];
    if ([key hasSuffix:@"ont"]) return [UIFont systemFontOfSize:9];
    if ([key hasSuffix:@"iew"]) return aView([UIView class]);
    if ([key isEqual:@"items"] && [record isKindOfClass:[KCSDKOndemandSearchResult class]]) {
        return @[ anItem() ];
    }
    NSArray* texts = @[ @"one", @"" ];
    NSArray* values = @[ [[[ValueType alloc] initWithText:@"t" value:@"v"] autorelease] ];
    id sample = [@{
        @"items" : @[ aClass() ],
        @"collectionItems" : @[ aClass() ],
        @"urls" : @[ aLink() ],
        @"equipments" : values,
        @"language" : values,
        @"classTypes" : texts,
        @"providers" : texts,
        @"equipmentNames" : texts,
        @"calorieBurn" : @-7,
        @"showHideDuration" : @2.5,
        @"virtualClass" : aClass(),
        @"ondemandContent" : aClass(),
        @"viewModel" : aModel(),
        @"playerConfig" : aBuilder(),
        @"eventReceiver" : [[[Listener alloc] init] autorelease],
        @"videoGravity" : AVLayerVideoGravityResize,
    } objectForKey:key];
    return sample ? sample : @"a text";
}

@interface Watch : NSObject {
@public
    id seen;
}
@end
@implementation Watch
- (void)observeValueForKeyPath:(NSString*)keyPath
                      ofObject:(id)object
                        change:(NSDictionary*)change
                       context:(void*)context {
    (void)keyPath, (void)object, (void)context;
    seen = [change objectForKey:NSKeyValueChangeNewKey];
}
@end

/// Every property of every class, written, observed and read by its selectors. Structures, which
/// key-value coding does not know, are tried by hand.
TEST_F(ObjC, everyProperty) {
    setUp();
    int properties = 0;
    Watch* watch = [[[Watch alloc] init] autorelease];
    for (KCSDKObject* record in oneOfEach()) {
        for (Class cls = [record class]; cls != [KCSDKObject class]; cls = [cls superclass]) {
            unsigned count = 0;
            Method* methods = class_copyMethodList(cls, &count);
            for (unsigned i = 0; i < count; ++i) {
                const std::string name = sel_getName(method_getName(methods[i]));
                if (!name.starts_with("set") || name.find(':') != name.size() - 1) continue;
                NSString* key = text(static_cast<char>(std::tolower(name[3])) +
                                     name.substr(4, name.size() - 5));
                if (name != "setHidden:" && ![record respondsToSelector:NSSelectorFromString(key)])
                    continue;
                id value = sampleOf(record, key, method_getTypeEncoding(methods[i]));
                if (!value) continue;
                watch->seen = nil;
                [record addObserver:watch
                         forKeyPath:key
                            options:NSKeyValueObservingOptionNew
                            context:NULL];
                [record setValue:value forKey:key];
                [record removeObserver:watch forKeyPath:key];
                EXPECT_TRUE([watch->seen isEqual:value] && [[record valueForKey:key] isEqual:value])
                    << class_getName(cls) << ' ' << [key UTF8String];
                ++properties;
            }
            free(methods);
        }
    }
    EXPECT_EQ(properties, 131);
    KCSDKOndemandMetaData* data = metaData();
    data.duration = {-1, 7};
    data.intensity = {2, 3};
    CHECK(data.duration.min == -1 && data.duration.max == 7);
    CHECK(data.intensity.min == 2 && data.intensity.max == 3);
}

TEST_F(ObjC, recordIdentity) {
    setUp();
    KCSDKOndemandClassResponse* page = classesPage();
    KCSDKOndemandClass* one = [page.items objectAtIndex:3];
    CHECK(one == [page.items objectAtIndex:3] && [one isEqual:[page.items objectAtIndex:3]]);
    CHECK(one != [page.items objectAtIndex:4]);
    CHECK([[one copy] autorelease] == one);
    one.provider = @"mine";
    CHECK_TEXT([[page.items objectAtIndex:3] provider], @"mine");
    page.items = @[ one ];
    CHECK([page.items count] == 1 && [page.items objectAtIndex:0] == one);
}

TEST_F(ObjC, recordValues) {
    KCSDKOndemandClass* one = aClass();
    // Nothing, empty and a value are three things where there may be nothing.
    for (NSString* key in @[ @"provider", @"calorieBurn", @"equipmentNames" ]) {
        for (id value in @[ [NSNull null], sampleOf(one, key, "v24@0:8@16"), [NSNull null] ]) {
            [one setValue:value == [NSNull null] ? nil : value forKey:key];
            CHECK_TEXT([one valueForKey:key] ? [one valueForKey:key] : [NSNull null], value);
        }
    }
    one.provider = @"";
    CHECK_TEXT(one.provider, @"");
    one.equipmentNames = @[];
    CHECK(one.equipmentNames && [one.equipmentNames count] == 0);
    one.calorieBurn = @(INT64_MAX);
    CHECK([one.calorieBurn longLongValue] == INT64_MAX);
    one.tag = nil;
    CHECK_TEXT(one.tag, @"");

    const auto units = [](const char16_t* from) {
        return [NSString stringWithCharacters:reinterpret_cast<const unichar*>(from) length:3];
    };
    NSString* large = [@"" stringByPaddingToLength:10000
                                        withString:@"Grüße, 日本 "
                                   startingAtIndex:0];
    for (NSString* each in @[ @"Grüße 💪 𝒳 日本", units(u"a\0b"), large ]) {
        one.className = each;
        CHECK_TEXT(one.className, each);
    }
    NSMutableString* cut = [NSMutableString stringWithString:@"a💪b"];
    [cut deleteCharactersInRange:NSMakeRange(2, 1)];  // half of the second character
    one.className = cut;
    CHECK_TEXT(one.className, units(u"a\uFFFDb"));

    ValueType* value = [[[ValueType alloc] initWithText:@"t" value:@"v"] autorelease];
    ValueType* copy = [[value copy] autorelease];
    CHECK_TEXT(copy, value);
    copy.text = @"other";
    copy.value = @"w";
    CHECK([value.text isEqual:@"t"] && [copy.value isEqual:@"w"] && ![copy isEqual:value]);
    CHECK_TEXT([[[ValueType alloc] init] autorelease].text, @"");
}

template <class Call> static bool refuses(Call call) {
    @try {
        call();
    } @catch (NSException* exception) {
        return [[exception name] isEqual:NSInvalidArgumentException];
    }
    return false;
}

/// What does not belong there is refused where it is given, and changes nothing.
TEST_F(ObjC, unusableValues) {
    setUp();
    KCSDKOndemandClassResponse* page = classesPage();
    KCSDKOndemandClass* one = [page.items objectAtIndex:0];
    const auto refusesItems = [&](NSArray* items) { return refuses([&] { page.items = items; }); };
    CHECK(refusesItems((@[ one, @"a text" ])) && refusesItems(@[ makeConfig(@"") ]));
    CHECK([page.items count] == 20);
    KCSDKOndemandMetaData* data = metaData();
    CHECK(refuses([&] { data.language = @[ @"no ValueType" ]; }));
    KCSDKSearchItem* item = anItem();
    CHECK(refuses([&] { item.virtualClass = nil; }));
    CHECK(refuses([] { (void)[[KCSDKPlayerViewModel alloc] initWithContent:nil]; }));
    id config = one;
    CHECK(refuses([&] { [KCSDK initializeWithConfig:config]; }));
}

/// From C++ to Objective-C and back, and an object that goes when its host lets go.
TEST_F(ObjC, coreObjects) {
    const auto user = std::make_shared<korvel::KCSDKUser>();
    {
        NSAutoreleasePool* inner = [[NSAutoreleasePool alloc] init];
        KCSDKUser* wrapped = KCSDKObjectOf(user);
        CHECK([wrapped isKindOfClass:[KCSDKUser class]] && KCSDKObjectOf(user) == wrapped);
        wrapped.userId = @"42";
        CHECK(KCSDKCore<korvel::KCSDKUser>(wrapped) == user);
        CHECK(!KCSDKCore<korvel::KCSDKConsent>(wrapped));
        [inner release];
    }
    CHECK(user->userId == "42" && user.use_count() == 1);
    user->username = "\xff\xfe";  // no UTF-8, and no reason to lose it
    CHECK([((KCSDKUser*)KCSDKObjectOf(user)).username length] == 2);
    CHECK(!KCSDKObjectOf(nullptr) && !KCSDKCore<korvel::KCSDKUser>(nil));
    const auto window = korvel::platform::make<korvel::platform::UIWindow>(
        korvel::platform::Device::current().screen);
    CHECK([KCSDKObjectOf(window) class] == [UIView class]);
}

TEST_F(ObjC, sameRecordsOnManyThreads) {
    std::vector<std::shared_ptr<korvel::KCSDKUser>> users(4);
    for (auto& user : users) user = std::make_shared<korvel::KCSDKUser>();
    std::atomic<int> wrong = 0;
    const auto work = [&](std::size_t thread) {
        GSRegisterCurrentThread();
        for (std::size_t i = 0; i < 50000; ++i) {
            NSAutoreleasePool* inner = [[NSAutoreleasePool alloc] init];
            const auto& user = users[(i + thread) % users.size()];
            KCSDKObject* first = KCSDKObjectOf(user);
            KCSDKObject* second = KCSDKObjectOf(user);
            if (first != second || KCSDKCoreObject(first) != user) ++wrong;
            [inner release];
        }
        GSUnregisterCurrentThread();
    };
    { const std::jthread a(work, 0), b(work, 1), c(work, 2), d(work, 3); }
    CHECK(wrong == 0);
    for (const auto& user : users) CHECK(user.use_count() == 1);
}
