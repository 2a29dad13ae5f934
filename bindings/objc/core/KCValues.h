#pragma once

// Values on their way: toNS leads out to the host, take leads in. docs/objc.md lists them.
#import "KCBridge.h"

#include <korvel/model/KCSDKConsent.h>
#include <korvel/model/KCSDKOndemandCkcToken.h>
#include <korvel/model/KCSDKOndemandClass.h>
#include <korvel/model/KCSDKOndemandClassResponse.h>
#include <korvel/model/KCSDKOndemandCollection.h>
#include <korvel/model/KCSDKOndemandContentToken.h>
#include <korvel/model/KCSDKOndemandFilterRequest.h>
#include <korvel/model/KCSDKOndemandMetaData.h>
#include <korvel/model/KCSDKOndemandSearchResult.h>
#include <korvel/model/KCSDKUser.h>
#include <korvel/model/KCSDKUserSubscriptionRequest.h>
#include <korvel/platform/Device.h>
#include <korvel/platform/uikit/UIView.h>
#include <korvel/player/KCSDKPlayerOverlay.h>
#include <korvel/player/KCSDKPlayerView.h>
#include <korvel/player/KCSDKPlayerViewController.h>
#include <korvel/player/KCSDKPlayerViewModel.h>
#include <korvel/presentation/KCSDKPlayerEvents.h>
#include <korvel/presentation/KCSDKVideoViewBuilder.h>
#include <korvel/sdk/KCSDK.h>
#include <korvel/session/KCSDKConfig.h>

#include <optional>
#include <string>
#include <vector>

namespace kc {

namespace p = korvel::platform;

/// Records that are told apart by their type alone.
#define KC_RECORDS(each)                                                                           \
    each(KCSDKConfig) each(KCSDKOndemandClass) each(KCSDKOndemandClassResponse)                    \
        each(KCSDKOndemandCollection) each(KCSDKOndemandMetaData) each(KCSDKOndemandFilterRequest) \
            each(KCSDKSearchItem) each(KCSDKOndemandSearchResult) each(LinkDetail)                 \
                each(KCSDKConsent) each(KCSDKUserSubscriptionRequest)                              \
                    each(KCSDKOndemandContentToken) each(KCSDKOndemandCkcToken) each(KCSDKUser)    \
                        each(KCSDKPlayerEvents) each(KCSDKPlayerViewModel)                         \
                            each(KCSDKVideoViewBuilder)

// This runtime looks a class up by its name wherever a message goes to it by its name.
template <class Record> Class classOf();
#define KC_CLASS_OF(name)                              \
    template <> inline Class classOf<korvel::name>() { \
        static const Class known = [::name class];     \
        return known;                                  \
    }
KC_RECORDS(KC_CLASS_OF)
#undef KC_CLASS_OF

// ---- out
NSString* toNS(const std::string& text);  ///< never nil; what is not UTF-8 is read as Latin-1
NSError* toNS(const korvel::NSError& error);
UIColor* toNS(const p::UIColor& color);
UIFont* toNS(const p::UIFont& font);
UIImage* toNS(const p::UIImage& image);
ValueType* toNS(const korvel::ValueType& value);
NSString* toNS(p::AVLayerVideoGravity gravity);
inline MinMaxType toNS(const korvel::MinMaxType& range) { return {range.min, range.max}; }
inline int64_t toNS(std::int64_t number) { return number; }
inline double toNS(double number) { return number; }
inline BOOL toNS(bool truth) { return truth ? YES : NO; }
inline NSRect toNS(const p::CGRect& rect) {
    return NSMakeRect(rect.origin.x, rect.origin.y, rect.size.width, rect.size.height);
}
template <class Record> id toNS(const std::shared_ptr<Record>& record) {
    return wrap(classOf<Record>(), record);
}
inline id toNS(const std::shared_ptr<p::UIView>& view) { return wrapDynamic(view); }
template <class Value> NSArray* toNS(const std::vector<Value>& values) {
    static const Class arrays = [NSMutableArray class];
    NSMutableArray* array = [arrays arrayWithCapacity:values.size()];
    for (const auto& value : values) [array addObject:toNS(value)];
    return array;
}
// Where there may be nothing, a number is an object.
inline Class numbers() {
    static const Class known = [NSNumber class];
    return known;
}
inline NSNumber* boxed(std::int64_t number) { return [numbers() numberWithLongLong:number]; }
inline NSNumber* boxed(double number) { return [numbers() numberWithDouble:number]; }
inline NSValue* boxed(const p::CGRect& rect) { return [NSValue valueWithRect:toNS(rect)]; }
template <class Value> auto boxed(const Value& value) { return toNS(value); }
template <class Value> auto toNS(const std::optional<Value>& value) -> decltype(boxed(*value)) {
    return value ? boxed(*value) : nil;
}

// ---- in
void take(NSString* from, std::string& to);  ///< nil: empty; lone surrogates are repaired
void take(UIColor* from, p::UIColor& to);    ///< nil: unchanged
void take(UIFont* from, p::UIFont& to);      ///< nil: unchanged
void take(UIImage* from, p::UIImage& to);    ///< nil: the empty image
void take(ValueType* from, korvel::ValueType& to);
void take(NSString* from, p::AVLayerVideoGravity& to);  ///< raises if it is none
inline void take(int64_t from, std::int64_t& to) { to = from; }
inline void take(double from, double& to) { to = from; }
inline void take(BOOL from, bool& to) { to = from != NO; }
inline void take(MinMaxType from, korvel::MinMaxType& to) { to = {from.min, from.max}; }
inline void take(NSNumber* from, std::int64_t& to) { to = [from longLongValue]; }
inline void take(NSNumber* from, double& to) { to = [from doubleValue]; }
inline p::CGRect rect(NSRect from) {
    return {{from.origin.x, from.origin.y}, {from.size.width, from.size.height}};
}
inline void take(NSValue* from, p::CGRect& to) { to = rect([from rectValue]); }
template <class Record> void take(id from, std::shared_ptr<Record>& to) {
    to = record<Record>(from);
}
/// One record of a list, where nothing has no place.
template <class Value> void takeOne(id from, Value& to) { take(from, to); }
template <class Value> void take(NSArray* from, std::vector<Value>& to) {
    std::vector<Value> values;
    values.reserve([from count]);
    for (id one in from) takeOne(one, values.emplace_back());
    to = std::move(values);
}
template <class From, class Value> void take(From from, std::optional<Value>& to) {
    if (!from) return to.reset();
    Value value{};
    take(from, value);
    to = std::move(value);
}
inline std::string text(NSString* from) {
    std::string to;
    take(from, to);
    return to;
}
template <class Value, class From> std::optional<Value> optional(From from) {
    std::optional<Value> to;
    take(from, to);
    return to;
}
std::chrono::system_clock::time_point date(NSDate* from);

/// A completion of any of the SDK's shapes for a block of the same shape.
template <class Block> auto completion(Block block) {
    return [held = std::make_shared<HostBlock<Block>>(block)](const auto&... results) {
        (*held)([&results] { return toNS(results); }...);
    };
}

/// A property over a member of the same name.
struct Property {
    const char* name;
    const char* type;  ///< as the runtime writes it
    IMP get;
    IMP set;
};
template <auto member> struct Accessors;
template <class Core, class Value, Value Core::*member> struct Accessors<member> {
    using Type = decltype(toNS(std::declval<const Value&>()));
    static Type get(KCSDKObject* self, SEL) { return toNS(as<Core>(self).*member); }
    static void set(KCSDKObject* self, SEL, Type value) { take(value, as<Core>(self).*member); }
    template <class Declared> static Property property(const char* name) {
        static_assert(std::is_same_v<Type, Declared> ||
                          (std::is_same_v<Type, id> && std::is_convertible_v<Declared, id>),
                      "what the interface declares is not what the member becomes");
        return { name, @encode(Type), reinterpret_cast<IMP>(&get), reinterpret_cast<IMP>(&set) };
    }
};
/// Gives `cls` their methods, where it has none of these names.
void addProperties(Class cls, std::initializer_list<Property> properties);

}  // namespace kc

// The properties of a class over members of that of C++, of whichever types these are: the one list
// beside the interface, which the compiler holds against it.
#define KC_PROPERTIES(cls, ...)                                                   \
    @dynamic __VA_ARGS__;                                                         \
    +(void)initialize {                                                           \
        static bool done = false; /* a subclass of the host's comes here, too */  \
        if (std::exchange(done, true)) return;                                    \
        kc::addProperties(self, {KC_EXPAND(KC_PROPERTIES_OF(cls, __VA_ARGS__))}); \
    }
#define KC_PROPERTIES_OF(cls, name, ...)                                                        \
    kc::Accessors<&korvel::cls::name>::property<decltype([static_cast<cls*>(nil) name])>(#name) \
        __VA_OPT__(, KC_PROPERTIES_AGAIN KC_PARENTHESES(cls, __VA_ARGS__))
#define KC_PROPERTIES_AGAIN() KC_PROPERTIES_OF
#define KC_PARENTHESES ()
#define KC_EXPAND(...) KC_EXPAND_4(KC_EXPAND_4(KC_EXPAND_4(KC_EXPAND_4(__VA_ARGS__))))
#define KC_EXPAND_4(...) KC_EXPAND_1(KC_EXPAND_1(KC_EXPAND_1(KC_EXPAND_1(__VA_ARGS__))))
#define KC_EXPAND_1(...) __VA_ARGS__

// A call without arguments.
#define KC_ACTION(name)            \
    -(void)name {                  \
        kc::as<Core>(self).name(); \
    }
