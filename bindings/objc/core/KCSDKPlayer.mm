#import "KCListener.h"
#import "KCValues.h"

#include <korvel/network/KCSDKNetworkManager.h>

namespace p = korvel::platform;

@implementation KCSDKPlayerViewModel
#define Core korvel::KCSDKPlayerViewModel
- (instancetype)initWithContent:(KCSDKOndemandClass*)content {
    if (!content) kc::refuse(@"a view model holds a class, not", content);
    return
        [self initWithCore:std::make_shared<Core>(kc::record<korvel::KCSDKOndemandClass>(content))];
}
- (KCSDKOndemandClass*)ondemandContent {
    return kc::toNS(kc::as<Core>(self).ondemandContent);
}
- (void)setOndemandContent:(KCSDKOndemandClass*)content {
    if (!content) kc::refuse(@"a view model holds a class, not", content);
    kc::take(content, kc::as<Core>(self).ondemandContent);
}
#undef Core
@end

// The views that storyboards connect are held weakly, and read as nil where there are none.
#define KC_OUTLET(type, name)                                   \
    -(type)name {                                               \
        return kc::wrapDynamic(kc::as<Core>(self).name.find()); \
    }

@implementation KCSDKPlayerOverlay
#define Core korvel::KCSDKPlayerOverlay
KC_MEMBER(KCSDKPlayerViewModel*, viewModel, setViewModel)
KC_MEMBER(KCSDKVideoViewBuilder*, playerConfig, setPlayerConfig)
KC_OUTLET(UIView*, viewTap)
KC_OUTLET(UIButton*, btnPlay)
KC_OUTLET(UIButton*, btnClose)
KC_OUTLET(UISlider*, slider)
KC_OUTLET(UILabel*, lblTitle)
KC_OUTLET(UIView*, viewLoader)
KC_MEMBER(UIImage*, playImage, setPlayImage)
KC_MEMBER(UIImage*, pauseImage, setPauseImage)
KC_MEMBER(UIColor*, buttonColor, setButtonColor)
- (void)didTapWithSender:(id)sender {
    (void)sender;
    kc::as<Core>(self).didTapWithSender(nullptr);
}
#undef Core
@end

@implementation KCSDKPlayerView
#define Core korvel::KCSDKPlayerView
- (instancetype)initWithFrame:(NSRect)frame {
    const auto view = p::make<Core>(p::Device::current(), korvel::KCSDKNetworkManager::shared());
    view->setFrame(kc::rect(frame));
    return [self initWithCore:view];
}
KC_MEMBER(NSString*, videoGravity, setVideoGravity)
- (KCSDKPlayerOverlay*)overlayController {
    return kc::wrapDynamic(kc::as<Core>(self).overlayController);
}
KC_MEMBER(KCSDKPlayerEvents*, eventListner, setEventListner)
KC_MEMBER(int64_t, totalPerformedTime, setTotalPerformedTime)
KC_MEMBER(BOOL, isProgressUpdating, setIsProgressUpdating)
KC_MEMBER(BOOL, isCustomOverlayAdded, setIsCustomOverlayAdded)
KC_MEMBER(NSString*, bearerToken, setBearerToken)
KC_MEMBER(NSString*, classTag, setClassTag)
- (KCSDKPlayerViewModel*)viewModel {
    return kc::toNS(kc::as<Core>(self).viewModel());
}
- (void)setViewModel:(KCSDKPlayerViewModel*)viewModel {
    kc::as<Core>(self).setViewModel(kc::record<korvel::KCSDKPlayerViewModel>(viewModel));
}
- (id<KCSDKPlayerEventsListner>)delegate {
    return kc::hostOf(kc::as<Core>(self).delegate.lock());
}
- (void)closeBtnTapped {
    kc::as<Core>(self).closeBtnTapped();
}
- (void)changePlayerState {
    kc::as<Core>(self).changePlayerState();
}
- (void)sliderMoved {
    kc::as<Core>(self).sliderMoved();
}
- (void)sliderValueChanged {
    kc::as<Core>(self).sliderValueChanged();
}
- (void)observeValueForKeyPath:(NSString*)keyPath
                      ofObject:(id)object
                        change:(NSDictionary*)change
                       context:(void*)context {
    (void)context;
    KCSDKObject* observed = [object isKindOfClass:[KCSDKObject class]] ? object : self;
    const p::KeyValueChange told{[[change objectForKey:NSKeyValueChangeNewKey] longLongValue]};
    kc::as<Core>(self).observeValueForKeyPath(kc::text(keyPath), *kc::core(observed), told);
}
#undef Core
@end

@implementation KCSDKPlayerViewController
#define Core korvel::KCSDKPlayerViewController
KC_MEMBER(KCSDKPlayerViewModel*, viewModel, setViewModel)
KC_MEMBER(KCSDKVideoViewBuilder*, playerConfig, setPlayerConfig)
- (KCSDKPlayerView*)viewVideo {
    return kc::wrapDynamic(kc::as<Core>(self).viewVideo);
}
#undef Core
@end

@implementation KCSDKPlayerEvents
#define Core korvel::KCSDKPlayerEvents
- (KCSDKPlayerViewController*)playerVC {
    return kc::wrapDynamic(kc::as<Core>(self).playerVC);
}
- (UIView*)parentView {
    return kc::toNS(kc::as<Core>(self).parentView);
}
KC_MEMBER(NSValue*, parentFrame, setParentFrame)
- (void)playVideo {
    kc::as<Core>(self).playVideo();
}
- (void)pauseVideo {
    kc::as<Core>(self).pauseVideo();
}
- (void)stopVideo {
    kc::as<Core>(self).stopVideo();
}
- (void)showOverlayView {
    kc::as<Core>(self).showOverlayView();
}
- (void)hideOverlayView {
    kc::as<Core>(self).hideOverlayView();
}
- (void)enterFullScreen {
    kc::as<Core>(self).enterFullScreen();
}
- (void)exitFullScreen {
    kc::as<Core>(self).exitFullScreen();
}
- (void)seekToTimeValue:(float)timeValue {
    kc::as<Core>(self).seekTo(timeValue);
}
#undef Core
@end
