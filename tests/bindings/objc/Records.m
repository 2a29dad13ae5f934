#import "Host.h"

#import "RecordTable.h"

static NSString* text(const unichar* units, NSUInteger length) {
    return [NSString stringWithCharacters:units length:length];
}

void recordIdentity(const struct Service* service) {
    setUp(service);
    KCSDKOndemandClassResponse* page = classesPage();
    KCSDKOndemandClass* one = [page.items objectAtIndex:3];
    CHECK(one == [page.items objectAtIndex:3] && [one isEqual:[page.items objectAtIndex:3]]);
    CHECK(one != [page.items objectAtIndex:4]);
    CHECK([[one copy] autorelease] == one);
    one.provider = @"mine";
    CHECK_TEXT([[page.items objectAtIndex:3] provider], @"mine");
    page.items = [NSArray arrayWithObject:one];
    CHECK([page.items count] == 1 && [page.items objectAtIndex:0] == one);
    NSAutoreleasePool* pool = [[NSAutoreleasePool alloc] init];
    [one retain];
    page = nil;
    [pool release];
    CHECK_TEXT(one.provider, @"mine");  // outlives the page that brought it
    [one release];
}

void recordValues(const struct Service* service) {
    setUp(service);
    KCSDKOndemandClass* one = classDetails(@"50102");
    // Nothing, empty and a value are three things where there may be nothing.
    one.provider = nil;
    CHECK(!one.provider);
    one.provider = @"";
    CHECK_TEXT(one.provider, @"");
    one.calorieBurn = nil;
    CHECK(!one.calorieBurn);
    one.calorieBurn = [NSNumber numberWithLongLong:0x7fffffffffffffffLL];
    CHECK([one.calorieBurn longLongValue] == 0x7fffffffffffffffLL);
    one.equipmentNames = nil;
    CHECK(!one.equipmentNames);
    one.equipmentNames = [NSArray array];
    CHECK(one.equipmentNames && [one.equipmentNames count] == 0);
    one.tag = nil;
    CHECK_TEXT(one.tag, @"");

    const unichar zero[] = {'a', 0, 'b'};
    const unichar repaired[] = {'a', 0xFFFD, 'b'};
    NSString* large = [@"" stringByPaddingToLength:10000
                                        withString:@"Grüße, 日本 "
                                   startingAtIndex:0];
    NSArray* texts = [NSArray arrayWithObjects:@"Grüße 💪 𝒳 日本", text(zero, 3), large, nil];
    for (NSString* each in texts) {
        one.className = each;
        CHECK_TEXT(one.className, each);
    }
    NSMutableString* cut = [NSMutableString stringWithString:@"a💪b"];
    [cut deleteCharactersInRange:NSMakeRange(2, 1)];  // half of the second character
    one.className = cut;
    CHECK_TEXT(one.className, text(repaired, 3));

    ValueType* value = [[[ValueType alloc] initWithText:@"t" value:@"v"] autorelease];
    ValueType* copy = [[value copy] autorelease];
    CHECK_TEXT(copy, value);
    copy.text = @"other";
    CHECK_TEXT(value.text, @"t");
    CHECK([[[[ValueType alloc] init] autorelease].text isEqual:@""]);
}

/// Every property of every record, written and read by its selectors.
void everyProperty(const struct Service* service) {
    setUp(service);
    int properties = 0;
    for (const struct RecordProperty* each = recordTable; each->className; ++each, ++properties) {
        NSAutoreleasePool* pool = [[NSAutoreleasePool alloc] init];
        KCSDKObject* record = recordOfClass(each->className);
        CHECK_TEXT(NSStringFromClass([record class]),
                   [NSString stringWithUTF8String:each->className]);
        NSString* key = [NSString stringWithUTF8String:each->name];
        id value = sampleOf(each->kind);
        [record setValue:value forKey:key];
        if (![[record valueForKey:key] isEqual:value]) {
            hostFailed(each->className, 0, each->name);
        }
        [pool release];
    }
    CHECK(properties == 80);
    // A structure, which key-value coding does not know.
    KCSDKOndemandMetaData* data = (KCSDKOndemandMetaData*)recordOfClass("KCSDKOndemandMetaData");
    data.duration = (MinMaxType){-1, 7};
    data.intensity = (MinMaxType){2, 3};
    CHECK(data.duration.min == -1 && data.duration.max == 7);
    CHECK(data.intensity.min == 2 && data.intensity.max == 3);
}

@interface Watch : NSObject {
@public
    NSMutableArray* seen;
}
@end
@implementation Watch
- (void)observeValueForKeyPath:(NSString*)keyPath
                      ofObject:(id)object
                        change:(NSDictionary*)change
                       context:(void*)context {
    (void)object;
    (void)context;
    [seen addObject:keyPath];
    [seen addObject:[change objectForKey:NSKeyValueChangeNewKey]];
}
@end

void observedProperties(const struct Service* service) {
    setUp(service);
    KCSDKOndemandClass* one = classDetails(@"50102");
    Watch* watch = [[[Watch alloc] init] autorelease];
    watch->seen = [NSMutableArray array];
    NSArray* keys = [NSArray arrayWithObjects:@"favourite", @"provider", @"durationSecond", nil];
    for (NSString* key in keys) {
        [one addObserver:watch forKeyPath:key options:NSKeyValueObservingOptionNew context:NULL];
    }
    one.favourite = YES;
    one.provider = @"x";
    one.durationSecond = 3;
    for (NSString* key in keys) [one removeObserver:watch forKeyPath:key];
    one.provider = @"unseen";
    NSArray* expected =
        [NSArray arrayWithObjects:@"favourite", [NSNumber numberWithBool:YES], @"provider", @"x",
                                  @"durationSecond", [NSNumber numberWithInt:3], nil];
    CHECK_TEXT(watch->seen, expected);
}

static BOOL refuses(void (^call)(void)) {
    @try {
        call();
    } @catch (NSException* exception) {
        return [[exception name] isEqual:NSInvalidArgumentException];
    }
    return NO;
}

/// What does not belong there is refused where it is given, and changes nothing.
void unusableValues(const struct Service* service) {
    setUp(service);
    KCSDKOndemandClassResponse* page = classesPage();
    KCSDKOndemandClass* one = [page.items objectAtIndex:0];
    CHECK(refuses(^{
      page.items = [NSArray arrayWithObjects:one, @"a text", nil];
    }));
    CHECK(refuses(^{
      page.items = [NSArray arrayWithObject:makeConfig(@"")];
    }));
    CHECK([page.items count] == 20);
    KCSDKOndemandMetaData* data = (KCSDKOndemandMetaData*)recordOfClass("KCSDKOndemandMetaData");
    CHECK(refuses(^{
      data.language = [NSArray arrayWithObject:@"no ValueType"];
    }));
    KCSDKSearchItem* item = (KCSDKSearchItem*)recordOfClass("KCSDKSearchItem");
    CHECK(refuses(^{
      item.virtualClass = nil;
    }));
    CHECK(refuses(^{
      (void)[[KCSDKPlayerViewModel alloc] initWithContent:nil];
    }));
    id config = one;
    CHECK(refuses(^{
      [KCSDK initializeWithConfig:config];
    }));
}
