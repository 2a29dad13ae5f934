#import "KCValues.h"

#include <objc/runtime.h>
#include <cctype>
#include <chrono>
#include <cmath>

namespace kc {

NSString* toNS(const std::string& text) {
    static const Class strings = [NSString class];
    NSString* string = [[strings alloc] initWithBytes:text.data()
                                               length:text.size()
                                             encoding:NSUTF8StringEncoding];
    if (!string) {
        string = [[NSString alloc] initWithBytes:text.data()
                                          length:text.size()
                                        encoding:NSISOLatin1StringEncoding];
    }
    return [string autorelease];
}

namespace {

void append(std::string& to, char32_t c) {
    const auto tail = [&](int shift) {
        to.push_back(static_cast<char>(0x80U | ((c >> shift) & 0x3FU)));
    };
    if (c < 0x80) {
        to.push_back(static_cast<char>(c));
    } else if (c < 0x800) {
        to.push_back(static_cast<char>(0xC0U | (c >> 6)));
        tail(0);
    } else if (c < 0x10000) {
        to.push_back(static_cast<char>(0xE0U | (c >> 12)));
        tail(6);
        tail(0);
    } else {
        to.push_back(static_cast<char>(0xF0U | (c >> 18)));
        tail(12);
        tail(6);
        tail(0);
    }
}

bool isHigh(unichar unit) { return unit >= 0xD800 && unit < 0xDC00; }
bool isLow(unichar unit) { return unit >= 0xDC00 && unit < 0xE000; }

}  // namespace

// By hand: Foundation's own conversion refuses a whole text for one lone surrogate.
void take(NSString* from, std::string& to) {
    const NSUInteger length = [from length];
    to.clear();
    if (length == 0) return;
    unichar fixed[256];
    std::vector<unichar> larger;
    unichar* units = fixed;
    if (length > std::size(fixed)) {
        larger.resize(length);
        units = larger.data();
    }
    [from getCharacters:units range:NSMakeRange(0, length)];
    to.reserve(length + 16);
    for (NSUInteger i = 0; i < length; ++i) {
        char32_t c = units[i];
        if (isHigh(units[i]) && i + 1 < length && isLow(units[i + 1])) {
            c = 0x10000 + ((c - 0xD800) << 10) + (units[++i] - 0xDC00U);
        } else if (isHigh(units[i]) || isLow(units[i])) {
            c = 0xFFFD;
        }
        append(to, c);
    }
}

NSError* toNS(const korvel::NSError& error) {
    NSMutableDictionary* info = [NSMutableDictionary dictionaryWithCapacity:error.userInfo.size()];
    for (const auto& [key, value] : error.userInfo) {
        id object = nil;
        if (const auto* words = std::get_if<std::string>(&value)) {
            object = toNS(*words);
        } else if (const auto* bytes = std::get_if<p::Data>(&value)) {
            object = [NSData dataWithBytes:bytes->data() length:bytes->size()];
        } else {
            object = wrapDynamic(std::get<std::shared_ptr<Object>>(value));
        }
        if (object) [info setObject:object forKey:toNS(key)];
    }
    return [NSError errorWithDomain:toNS(error.domain)
                               code:static_cast<NSInteger>(error.code)
                           userInfo:info];
}

std::chrono::system_clock::time_point date(NSDate* from) {
    // A double of today's dates is good to a quarter of a microsecond, and whole milliseconds are
    // cut out of this later: 0.123 must not become .122.
    const auto since = std::chrono::microseconds(std::llround([from timeIntervalSince1970] * 1e6));
    return std::chrono::system_clock::time_point(since);
}

}  // namespace kc

AVLayerVideoGravity const AVLayerVideoGravityResizeAspect = @"AVLayerVideoGravityResizeAspect";
AVLayerVideoGravity const AVLayerVideoGravityResizeAspectFill =
    @"AVLayerVideoGravityResizeAspectFill";
AVLayerVideoGravity const AVLayerVideoGravityResize = @"AVLayerVideoGravityResize";

namespace kc {

NSString* toNS(p::AVLayerVideoGravity gravity) {
    switch (gravity) {
        case p::AVLayerVideoGravity::resizeAspect:
            return ::AVLayerVideoGravityResizeAspect;
        case p::AVLayerVideoGravity::resizeAspectFill:
            return ::AVLayerVideoGravityResizeAspectFill;
        case p::AVLayerVideoGravity::resize:
            break;
    }
    return ::AVLayerVideoGravityResize;
}

void take(NSString* from, p::AVLayerVideoGravity& to) {
    for (const auto one :
         {p::AVLayerVideoGravity::resizeAspect, p::AVLayerVideoGravity::resizeAspectFill,
          p::AVLayerVideoGravity::resize}) {
        if (![from isEqualToString:toNS(one)]) continue;
        to = one;
        return;
    }
    refuse(@"no video gravity:", from);
}

void addProperties(Class cls, std::initializer_list<Property> properties) {
    for (const auto& each : properties) {
        const std::string type = each.type;
        std::string setter = std::string("set") + each.name + ":";
        setter[3] = static_cast<char>(std::toupper(setter[3]));
        class_addMethod(cls, sel_registerName(each.name), each.get, (type + "@:").c_str());
        class_addMethod(cls, sel_registerName(setter.c_str()), each.set, ("v@:" + type).c_str());
    }
}

}  // namespace kc
