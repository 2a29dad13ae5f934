#import "KCListener.h"
#import "KCStreamFailure.h"
#import "KCValues.h"

namespace p = korvel::platform;

@implementation KCSDKVideoViewBuilder
#define Core korvel::KCSDKVideoViewBuilder
- (instancetype)initWithOndemandClassInfo:(KCSDKOndemandClass*)info {
    return [self initWithCore:Core::create(kc::record<korvel::KCSDKOndemandClass>(info))];
}

// What these set are properties, too, so that a host's observers hear of them.
- (void)setPlayButtonImageWithImage:(UIImage*)image {
    [self setPlayImage:image];
}
- (void)setPauseButtonImageWithImage:(UIImage*)image {
    [self setPauseImage:image];
}
- (void)setPlayPauseButtonColorWithColor:(UIColor*)color {
    [self setButtonColor:color];
}
- (void)setExitButtonImageWithImage:(UIImage*)image {
    [self setCloseImage:image];
}
- (void)setExitButtonColorWithColor:(UIColor*)color {
    [self setCloseButtonColor:color];
}
- (void)setProgressSliderTintColorWithMincolor:(UIColor*)mincolor
                                      maxcolor:(UIColor*)maxcolor
                                     thumbtint:(UIColor*)thumbtint
                                     tintColor:(UIColor*)tintColor {
    [self setSliderMinTrackColor:mincolor];
    [self setSliderMaxTrackColor:maxcolor];
    [self setSliderThumbTintColor:thumbtint];
    [self setSliderTintColor:tintColor];
}
- (void)setTitleTextColorWithColor:(UIColor*)color {
    [self setTitleTextColor:color];
}
- (void)setTitleFontWithFont:(UIFont*)font {
    [self setTitleFont:font];
}
- (void)setAutoPlayWithEnable:(BOOL)enable {
    [self setAutoPlay:enable];
}
- (void)setThemeColorWithColor:(UIColor*)color {
    [self setButtonColor:color];
    [self setCloseButtonColor:color];
    [self setSliderTintColor:color];
    [self setTitleTextColor:color];
}
- (void)setShowHideDurationWithDuration:(double)duration {
    [self setShowHideDuration:[NSNumber numberWithDouble:duration]];
}
- (void)setEventReceiverWithReceiver:(id<KCSDKPlayerEventsListner>)receiver {
    [self setEventReceiver:receiver];
}

- (void)startVideoInParentView:(UIView*)parentView
                   overlayView:(UIView*)overlayView
               completionBlock:(KCSDKStartBlock)completionBlock {
    kc::as<Core>(self).startVideoIn(
        kc::record<p::UIView>(parentView), kc::record<p::UIView>(overlayView),
        [tell = kc::completion(completionBlock)](const auto& events, const auto& error) {
            if (events) kc::watchStream(*events);
            tell(events, error);
        });
}

KC_PROPERTIES(KCSDKVideoViewBuilder, playImage, pauseImage, closeImage, buttonColor,
              closeButtonColor, sliderMinTrackColor, sliderMaxTrackColor, sliderThumbTintColor,
              sliderTintColor, titleFont, titleTextColor, classTitle, overlayView, showHideDuration,
              isFullScreenEnabled, isCustomOverlayViewPresent, autoPlay)
- (KCSDKOndemandClass*)ondemandClass {
    return kc::toNS(kc::as<Core>(self).ondemandClass);
}
- (id<KCSDKPlayerEventsListner>)eventReceiver {
    return kc::hostOf(kc::as<Core>(self).eventReceiver);
}
- (void)setEventReceiver:(id<KCSDKPlayerEventsListner>)receiver {
    kc::as<Core>(self).setEventReceiver(kc::listener(receiver));
}
#undef Core
@end
