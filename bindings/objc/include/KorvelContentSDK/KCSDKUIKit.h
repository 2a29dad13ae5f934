#import <KorvelContentSDK/KCSDKObject.h>

NS_ASSUME_NONNULL_BEGIN

// What the player's look and place are described with: the SDK's own view tree under the field's
// names. Colours, fonts and images are values, equal by what they hold; any thread. Views and
// controllers: main queue.

/// sRGB, every part 0 to 1.
KORVEL_OBJC_API
@interface UIColor : NSObject <NSCopying> {
@private
    float _red, _green, _blue, _alpha;
}
+ (UIColor*)colorWithRed:(CGFloat)red green:(CGFloat)green blue:(CGFloat)blue alpha:(CGFloat)alpha;
+ (UIColor*)whiteColor;
+ (UIColor*)blackColor;
+ (UIColor*)clearColor;
@end

/// A wish: the toolkit takes what comes nearest.
KORVEL_OBJC_API
@interface UIFont : NSObject <NSCopying> {
@private
    void* _font;
}
/// `name`: family. Regular weight.
+ (UIFont*)fontWithName:(NSString*)name size:(CGFloat)size;
+ (UIFont*)systemFontOfSize:(CGFloat)size;
+ (UIFont*)boldSystemFontOfSize:(CGFloat)size;
@property(nonatomic, readonly) NSString* familyName;  ///< empty: the system's
@property(nonatomic, readonly) CGFloat pointSize;
@end

/// A PNG picture. nil if the bytes are none.
KORVEL_OBJC_API
@interface UIImage : NSObject <NSCopying> {
@private
    void* _image;
}
+ (nullable UIImage*)imageWithContentsOfFile:(NSString*)path;
+ (nullable UIImage*)imageWithData:(NSData*)png;
@property(nonatomic, readonly) NSSize size;  ///< points
@end

/// A superview owns its subviews.
KORVEL_OBJC_API
@interface UIView : KCSDKObject
- (instancetype)initWithFrame:(NSRect)frame;
@property(nonatomic) NSRect frame;  ///< points, in the superview
@property(nonatomic) CGFloat alpha;
@property(nonatomic, getter=isHidden) BOOL hidden;
@property(nonatomic, copy, nullable) UIColor* backgroundColor;
@property(nonatomic, copy, nullable) UIColor* tintColor;
@property(nonatomic, readonly, nullable) UIView* superview;
@property(nonatomic, readonly, copy) NSArray* subviews;
- (void)addSubview:(UIView*)view;
- (void)removeFromSuperview;
@end

KORVEL_OBJC_API
@interface UIButton : UIView
@end

KORVEL_OBJC_API
@interface UISlider : UIView
@property(nonatomic) float value;
@property(nonatomic) float maximumValue;
@end

KORVEL_OBJC_API
@interface UILabel : UIView
@property(nonatomic, copy) NSString* text;
@property(nonatomic, copy) UIFont* font;
@property(nonatomic, copy) UIColor* textColor;
@end

typedef NS_OPTIONS(NSUInteger, UIInterfaceOrientationMask) {
    UIInterfaceOrientationMaskPortrait = 2,
    UIInterfaceOrientationMaskPortraitUpsideDown = 4,
    UIInterfaceOrientationMaskLandscapeRight = 8,
    UIInterfaceOrientationMaskLandscapeLeft = 16,
    UIInterfaceOrientationMaskLandscape = 24,
    UIInterfaceOrientationMaskAll = 30,
};

KORVEL_OBJC_API
@interface UIViewController : KCSDKObject
@property(nonatomic, strong) UIView* view;  ///< made at the first reading
- (UIInterfaceOrientationMask)supportedInterfaceOrientations;
- (BOOL)shouldAutorotate;
@end

NS_ASSUME_NONNULL_END
