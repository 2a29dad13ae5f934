#import "KCValues.h"

namespace p = korvel::platform;

#pragma mark - Values

@implementation UIColor
static UIColor* makeColor(const p::UIColor& from) {
    UIColor* color = [[[UIColor alloc] init] autorelease];
    color->_red = from.red;
    color->_green = from.green;
    color->_blue = from.blue;
    color->_alpha = from.alpha;
    return color;
}
static p::UIColor readColor(UIColor* from) {
    return {from->_red, from->_green, from->_blue, from->_alpha};
}
+ (UIColor*)colorWithRed:(CGFloat)red green:(CGFloat)green blue:(CGFloat)blue alpha:(CGFloat)alpha {
    return makeColor({static_cast<float>(red), static_cast<float>(green), static_cast<float>(blue),
                      static_cast<float>(alpha)});
}
+ (UIColor*)whiteColor {
    return makeColor(p::UIColor::white());
}
+ (UIColor*)blackColor {
    return makeColor(p::UIColor::black());
}
+ (UIColor*)clearColor {
    return makeColor(p::UIColor::clear());
}
- (id)copyWithZone:(NSZone*)zone {
    (void)zone;
    return [self retain];
}
- (BOOL)isEqual:(id)other {
    return [other isKindOfClass:[UIColor class]] && readColor(self) == readColor(other);
}
- (NSUInteger)hash {
    return [[NSNumber numberWithFloat:_red + 2 * _green + 4 * _blue + 8 * _alpha] hash];
}
@end

@implementation UIFont
static UIFont* makeFont(p::UIFont from) {
    UIFont* font = [[[UIFont alloc] init] autorelease];
    font->_font = new p::UIFont(std::move(from));
    return font;
}
static const p::UIFont& readFont(UIFont* from) {
    static const auto& none = *new p::UIFont;
    return from->_font ? *static_cast<const p::UIFont*>(from->_font) : none;
}
+ (UIFont*)fontWithName:(NSString*)name size:(CGFloat)size {
    return makeFont({kc::text(name), size, p::UIFont::Weight::regular});
}
+ (UIFont*)systemFontOfSize:(CGFloat)size {
    return makeFont(p::UIFont::systemFont(size));
}
+ (UIFont*)boldSystemFontOfSize:(CGFloat)size {
    return makeFont(p::UIFont::boldSystemFont(size));
}
- (void)dealloc {
    delete static_cast<p::UIFont*>(_font);
    [super dealloc];
}
- (NSString*)familyName {
    return kc::toNS(readFont(self).name);
}
- (CGFloat)pointSize {
    return readFont(self).pointSize;
}
- (id)copyWithZone:(NSZone*)zone {
    (void)zone;
    return [self retain];
}
- (BOOL)isEqual:(id)other {
    return [other isKindOfClass:[UIFont class]] && readFont(self) == readFont(other);
}
- (NSUInteger)hash {
    return [[self familyName] hash] ^ static_cast<NSUInteger>([self pointSize]);
}
@end

@implementation UIImage
static UIImage* makeImage(p::UIImage from) {
    UIImage* image = [[[UIImage alloc] init] autorelease];
    image->_image = new p::UIImage(std::move(from));
    return image;
}
static const p::UIImage& readImage(UIImage* from) {
    static const auto& none = *new p::UIImage;
    return from && from->_image ? *static_cast<const p::UIImage*>(from->_image) : none;
}
- (void)dealloc {
    delete static_cast<p::UIImage*>(_image);
    [super dealloc];
}
+ (UIImage*)imageWithContentsOfFile:(NSString*)path {
    return kc::toNS(p::UIImage::contentsOfFile(kc::text(path)));
}
+ (UIImage*)imageWithData:(NSData*)png {
    const auto* bytes = static_cast<const std::uint8_t*>([png bytes]);
    return kc::toNS(p::UIImage::withData(p::Data(bytes, bytes + [png length])));
}
- (NSSize)size {
    const auto size = readImage(self).size();
    return NSMakeSize(size.width, size.height);
}
- (id)copyWithZone:(NSZone*)zone {
    (void)zone;
    return [self retain];
}
- (BOOL)isEqual:(id)other {
    return [other isKindOfClass:[UIImage class]] && readImage(self) == readImage(other);
}
- (NSUInteger)hash {
    return static_cast<NSUInteger>([self size].width) * 31 +
           static_cast<NSUInteger>([self size].height);
}
@end

namespace kc {

UIColor* toNS(const p::UIColor& color) { return makeColor(color); }
UIFont* toNS(const p::UIFont& font) { return makeFont(font); }
UIImage* toNS(const p::UIImage& image) { return makeImage(image); }
void take(UIColor* from, p::UIColor& to) {
    if (from) to = readColor(from);
}
void take(UIFont* from, p::UIFont& to) {
    if (from) to = readFont(from);
}
void take(UIImage* from, p::UIImage& to) { to = readImage(from); }

}  // namespace kc

#pragma mark - Views

// A property over a pair of accessors; `type` and `Value` are its two sides.
#define KC_ACCESSORS(type, name, Setter, Value)                      \
    -(type)name {                                                    \
        return kc::toNS(kc::as<Core>(self).name());                  \
    }                                                                \
    -(void)Setter : (type)value {                                    \
        Value taken = static_cast<Value>(kc::as<Core>(self).name()); \
        kc::take(value, taken);                                      \
        kc::as<Core>(self).Setter(std::move(taken));                 \
    }
// Each class of views makes a view of its own kind.
#define KC_VIEW                                                    \
    -(instancetype)initWithFrame : (NSRect)frame {                 \
        return [self initWithCore:p::make<Core>(kc::rect(frame))]; \
    }

@implementation UIView
#define Core p::UIView
KC_VIEW
- (NSRect)frame {
    return kc::toNS(kc::as<Core>(self).frame());
}
- (void)setFrame:(NSRect)frame {
    kc::as<Core>(self).setFrame(kc::rect(frame));
}
KC_ACCESSORS(CGFloat, alpha, setAlpha, double)
KC_ACCESSORS(BOOL, isHidden, setHidden, bool)
KC_ACCESSORS(UIColor*, backgroundColor, setBackgroundColor, std::optional<p::UIColor>)
KC_ACCESSORS(UIColor*, tintColor, setTintColor, std::optional<p::UIColor>)
- (UIView*)superview {
    return kc::toNS(kc::as<Core>(self).superview());
}
- (NSArray*)subviews {
    return kc::toNS(kc::as<Core>(self).subviews());
}
- (void)addSubview:(UIView*)view {
    if (view) kc::as<Core>(self).addSubview(kc::record<Core>(view));
}
KC_ACTION(removeFromSuperview)
#undef Core
@end

@implementation UIButton
#define Core p::UIButton
KC_VIEW
#undef Core
@end

@implementation UISlider
#define Core p::UISlider
KC_VIEW
- (float)value {
    return kc::as<Core>(self).value();
}
- (void)setValue:(float)value {
    kc::as<Core>(self).setValue(value);
}
- (float)maximumValue {
    return kc::as<Core>(self).maximumValue();
}
- (void)setMaximumValue:(float)value {
    kc::as<Core>(self).setMaximumValue(value);
}
#undef Core
@end

@implementation UILabel
#define Core p::UILabel
KC_VIEW
KC_ACCESSORS(NSString*, text, setText, std::string)
KC_ACCESSORS(UIFont*, font, setFont, p::UIFont)
KC_ACCESSORS(UIColor*, textColor, setTextColor, p::UIColor)
#undef Core
@end

@implementation UIViewController
#define Core p::UIViewController
- (UIView*)view {
    return kc::toNS(kc::as<Core>(self).view());
}
- (void)setView:(UIView*)view {
    kc::as<Core>(self).setView(kc::record<p::UIView>(view));
}
- (UIInterfaceOrientationMask)supportedInterfaceOrientations {
    return kc::as<Core>(self).supportedInterfaceOrientations();
}
- (BOOL)shouldAutorotate {
    return kc::as<Core>(self).shouldAutorotate();
}
#undef Core
@end
