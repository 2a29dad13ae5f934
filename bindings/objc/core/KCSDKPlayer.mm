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
KC_PROPERTIES(KCSDKPlayerOverlay, viewModel, playerConfig, playImage, pauseImage, buttonColor)
KC_OUTLET(UIView*, viewTap)
KC_OUTLET(UIButton*, btnPlay)
KC_OUTLET(UIButton*, btnClose)
KC_OUTLET(UISlider*, slider)
KC_OUTLET(UILabel*, lblTitle)
KC_OUTLET(UIView*, viewLoader)
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
KC_PROPERTIES(KCSDKPlayerView, videoGravity, eventListner, totalPerformedTime, isProgressUpdating,
              isCustomOverlayAdded, bearerToken, classTag)
- (KCSDKPlayerOverlay*)overlayController {
    return kc::wrapDynamic(kc::as<Core>(self).overlayController);
}
- (KCSDKPlayerViewModel*)viewModel {
    return kc::toNS(kc::as<Core>(self).viewModel());
}
- (void)setViewModel:(KCSDKPlayerViewModel*)viewModel {
    kc::as<Core>(self).setViewModel(kc::record<korvel::KCSDKPlayerViewModel>(viewModel));
}
- (id<KCSDKPlayerEventsListner>)delegate {
    return kc::hostOf(kc::as<Core>(self).delegate.lock());
}
KC_ACTION(closeBtnTapped)
KC_ACTION(changePlayerState)
KC_ACTION(sliderMoved)
KC_ACTION(sliderValueChanged)
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
KC_PROPERTIES(KCSDKPlayerViewController, viewModel, playerConfig)
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
KC_PROPERTIES(KCSDKPlayerEvents, parentFrame)
KC_ACTION(playVideo)
KC_ACTION(pauseVideo)
KC_ACTION(stopVideo)
KC_ACTION(showOverlayView)
KC_ACTION(hideOverlayView)
KC_ACTION(enterFullScreen)
KC_ACTION(exitFullScreen)
- (void)seekToTimeValue:(float)timeValue {
    kc::as<Core>(self).seekTo(timeValue);
}
#undef Core
@end
