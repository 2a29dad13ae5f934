#import "Fixture.h"

#include <algorithm>

@interface Silent : Probe <KCSDKPlayerEventsListner>
@end
@implementation Silent
@end

static UIView* place(void) {
    return [[[UIView alloc] initWithFrame:NSMakeRect(0, 0, 1280, 720)] autorelease];
}

static Answer* start(KCSDKVideoViewBuilder* builder, UIView* parent, UIView* overlay) {
    Answer* answer = [Answer answer];
    [builder startVideoInParentView:parent overlayView:overlay completionBlock:[answer block]];
    CHECK([answer turn] && answer->onMain);
    return answer;
}

/// Logged in, allowed to play; on a device that cannot, unless it has media.
class ObjCPlayer : public ObjC {
protected:
    KCSDKVideoViewBuilder* builderFor(id<KCSDKPlayerEventsListner> receiver, BOOL media = NO) {
        setUp(media);
        logIn();
        service.accounts().acceptConsent("anna", "privacy-2024");
        service.accounts().setSubscription("anna", korvel::service::Subscription{"now", "gold"});
        CHECK([KCSDKDevice attachMainQueueToRunLoop]);
        KCSDKVideoViewBuilder* builder = [[[KCSDKVideoViewBuilder alloc]
            initWithOndemandClassInfo:classDetails(@"50102")] autorelease];
        [builder setEventReceiverWithReceiver:receiver];
        return builder;
    }
    Listener* listener = [[[Listener alloc] init] autorelease];
};

@interface OwnBuilder : KCSDKVideoViewBuilder {
@public
    int added;
}
@end
@implementation OwnBuilder
@end

TEST_F(ObjCPlayer, look) {
    setUp();
    OwnBuilder* builder =
        [[[OwnBuilder alloc] initWithOndemandClassInfo:classDetails(@"50102")] autorelease];
    builder->added = 7;
    CHECK_TEXT(builder.ondemandClass.tag, @"50102");
    UIColor* white = [UIColor whiteColor];
    UIColor* red = [UIColor colorWithRed:1 green:0 blue:0 alpha:1];
    UIImage* close = builder.closeImage;
    CHECK(builder.autoPlay && builder.isFullScreenEnabled && !builder.isCustomOverlayViewPresent);
    CHECK([builder.titleTextColor isEqual:white] && !builder.buttonColor && !builder.eventReceiver);
    CHECK([builder.titleFont isEqual:[UIFont boldSystemFontOfSize:28]]);
    CHECK(close.size.width > 0 && ![close isEqual:builder.playImage] && [close isEqual:close]);
    CHECK(!builder.showHideDuration && !builder.overlayView);
    CHECK_TEXT(builder.classTitle, @"");

    UIFont* inter = [UIFont fontWithName:@"Inter" size:14];
    CHECK(inter.pointSize == 14 && [inter.familyName isEqual:@"Inter"]);
    const struct {
        const char* setter;
        id value;
        NSArray* keys;
    } rows[] = {{"setThemeColorWithColor:", red,
                 @[ @"buttonColor", @"closeButtonColor", @"sliderTintColor", @"titleTextColor" ]},
                {"setExitButtonColorWithColor:", white, @[ @"closeButtonColor" ]},
                {"setTitleTextColorWithColor:", white, @[ @"titleTextColor" ]},
                {"setPlayPauseButtonColorWithColor:", nil, @[ @"buttonColor" ]},
                {"setTitleFontWithFont:", inter, @[ @"titleFont" ]},
                {"setPlayButtonImageWithImage:", close, @[ @"playImage" ]},
                {"setPauseButtonImageWithImage:", close, @[ @"pauseImage" ]}};
    for (const auto& row : rows) {
        [builder performSelector:NSSelectorFromString(text(row.setter)) withObject:row.value];
        for (NSString* key in row.keys) {
            id now = [builder valueForKey:key];
            EXPECT_TRUE(now == row.value || [now isEqual:row.value]) << row.setter;
        }
    }
    [builder setTitleTextColorWithColor:nil];
    CHECK([builder.titleTextColor isEqual:white] && [builder.sliderTintColor isEqual:red]);
    [builder setProgressSliderTintColorWithMincolor:red maxcolor:nil thumbtint:white tintColor:nil];
    CHECK([builder.sliderMinTrackColor isEqual:red] && !builder.sliderMaxTrackColor);
    CHECK([builder.sliderThumbTintColor isEqual:white] && !builder.sliderTintColor);
    [builder setAutoPlayWithEnable:NO];
    [builder setShowHideDurationWithDuration:2.5];
    CHECK(!builder.autoPlay && [builder.showHideDuration doubleValue] == 2.5);
    [builder setExitButtonImageWithImage:nil];
    CHECK(builder.closeImage && builder.closeImage.size.width == 0);
    CHECK(![UIImage imageWithData:[NSData data]] && ![UIImage imageWithContentsOfFile:@"/none"]);

    UIView* view = place();
    UIButton* button = [[[UIButton alloc] initWithFrame:NSZeroRect] autorelease];
    button.frame = NSMakeRect(1, 2, 3, 4);
    CHECK(NSEqualRects(button.frame, NSMakeRect(1, 2, 3, 4)));
    [view addSubview:button];
    CHECK(button.superview == view && [view.subviews isEqual:@[ button ]]);
    [button removeFromSuperview];
    CHECK(!button.superview && [view.subviews count] == 0);
}

static void command(KCSDKPlayerEvents* events, Listener* listener) {
    KCSDKPlayerView* view = events.playerVC.viewVideo;
    KCSDKPlayerOverlay* overlay = view.overlayController;
    CHECK([overlay.lblTitle.text length] > 0 && overlay.btnPlay && overlay.btnClose);
    CHECK(overlay.viewLoader.isHidden && overlay.playImage && overlay.pauseImage);
    CHECK([overlay.buttonColor isEqual:[UIColor whiteColor]]);
    CHECK(overlay.slider.maximumValue == listener->total && overlay.slider.value > 0);
    const CGFloat shown = overlay.viewTap.alpha;
    [overlay didTapWithSender:nil];
    CHECK((overlay.viewTap.alpha == 0) != (shown == 0));
    [events showOverlayView];
    [events hideOverlayView];
    CHECK((overlay.viewTap.alpha == 0) != (shown == 0));

    const int before = listener->statuses;
    [events pauseVideo];
    CHECK(listener->status == 0);
    [events playVideo];
    CHECK(listener->status == 1);
    [view changePlayerState];
    CHECK(listener->status == 0 && listener->statuses == before + 3);
    [view changePlayerState];
    [view sliderValueChanged];
    CHECK(view.isProgressUpdating);
    overlay.slider.value = 8;
    [view sliderMoved];
    CHECK(!view.isProgressUpdating);
    CHECK_TURN(listener->position >= 8);
    [events pauseVideo];  // only the seek leads there
    [events seekToTimeValue:16];
    CHECK_TURN(listener->position >= 16);
}

TEST_F(ObjCPlayer, playing) {
    KCSDKVideoViewBuilder* builder = builderFor(listener, YES);
    UIView* parent = place();
    [builder setThemeColorWithColor:[UIColor whiteColor]];
    Answer* started = start(builder, parent, nil);
    KCSDKPlayerEvents* events = started->record;
    CHECK(events && !started->error && events.parentView == parent && !events.parentFrame);
    CHECK(events.playerVC.viewVideo.delegate == listener && [parent.subviews count] == 1);
    CHECK(events.playerVC.playerConfig == builder);
    CHECK_TEXT(events.playerVC.viewModel.ondemandContent.className, builder.classTitle);

    CHECK_TURN(listener->position > 1);
    CHECK(listener->positions > 50 && listener->total > 10 && listener->likelies > 0);
    command(events, listener);
    [events exitFullScreen];
    CHECK(listener->exits == 1);
    CHECK(NSEqualRects([events.parentFrame rectValue], NSMakeRect(0, 0, 1280, 720)));
    KCSDKPlayerView* view = events.playerVC.viewVideo;
    [events stopVideo];
    CHECK(listener->exits == 2 && listener->performed == view.totalPerformedTime);
    CHECK(listener->totals >= listener->positions && !listener->offMain);
    CHECK_TURN(!view.overlayController && [parent.subviews count] == 0);
    EXPECT_TRUE(std::ranges::any_of(service.requests(), [](const auto& request) {
        return request.target == "/ondemand/v1/token/50122";  // the stream's keys were asked for
    }));
}

/// Under a host's own controls nothing of the SDK's is there, and the stream's end is told.
TEST_F(ObjCPlayer, ownOverlay) {
    KCSDKVideoViewBuilder* builder = builderFor(listener);
    Answer* failure = [Answer answer];
    [KCSDKDevice setStreamFailureHandler:[failure block]];
    UIView* controls = place();
    UIView* parent = place();
    KCSDKPlayerEvents* events = start(builder, parent, controls)->record;
    KCSDKPlayerView* view = events.playerVC.viewVideo;
    KCSDKPlayerOverlay* overlay = view.overlayController;
    CHECK(view.isCustomOverlayAdded && overlay.view == controls && controls.superview == view);
    CHECK(!overlay.viewTap && !overlay.btnPlay && !overlay.btnClose && !overlay.slider);
    CHECK(!overlay.lblTitle && !overlay.viewLoader && !overlay.playImage && !overlay.buttonColor);
    CHECK([failure turn] && failure->record == view && failure->error && failure->onMain);

    // A host's own controls.
    [view changePlayerState];
    CHECK(listener->statuses == 1);
    [view sliderValueChanged];
    [view sliderMoved];
    [view observeValueForKeyPath:@"playbackLikelyToKeepUp" ofObject:nil change:nil context:NULL];
    [view observeValueForKeyPath:@"playbackBufferEmpty"
                        ofObject:view
                          change:[NSDictionary dictionary]
                         context:NULL];
    [view observeValueForKeyPath:@"something else" ofObject:@"text" change:nil context:NULL];
    CHECK(listener->likelies == 1 && listener->empties == 1);
    // What the host may hang on them.
    view.eventListner = events;
    CHECK(view.eventListner == events);
    CHECK_TEXT(view.classTag, @"50102");
    view.eventListner = nil;
    view.totalPerformedTime = 7;
    [view closeBtnTapped];
    CHECK(listener->exits == 1 && listener->performed == 7);
    [KCSDKDevice setStreamFailureHandler:nil];
}

TEST_F(ObjCPlayer, fullScreenWithoutWindow) {
    KCSDKPlayerEvents* events = start(builderFor(listener), nil, nil)->record;
    KCSDKPlayerViewController* controller = events.playerVC;
    CHECK(events && !events.parentView && [KCSDK shared].enablefullscreenVideo);
    CHECK([controller supportedInterfaceOrientations] == UIInterfaceOrientationMaskLandscape);
    CHECK([controller shouldAutorotate] && controller.view.superview == nil);
    [events exitFullScreen];
    CHECK(listener->exits == 1 && !events.parentFrame && ![KCSDK shared].enablefullscreenVideo);
    CHECK([controller supportedInterfaceOrientations] == UIInterfaceOrientationMaskPortrait);
    [events enterFullScreen];
    CHECK([KCSDK shared].enablefullscreenVideo);
    [KCSDK shared].enablefullscreenVideo = NO;
    CHECK(![KCSDK shared].enablefullscreenVideo);
    [events stopVideo];
    CHECK(listener->exits == 2);
}

/// A listener may implement nothing; and nobody outlives the player that ended.
TEST_F(ObjCPlayer, silentListener) {
    const int before = [Probe alive];
    NSAutoreleasePool* inner = [[NSAutoreleasePool alloc] init];
    Probe* captured = [[[Probe alloc] init] autorelease];
    Silent* silent = [[[Silent alloc] init] autorelease];
    KCSDKVideoViewBuilder* builder = builderFor([[[Silent alloc] init] autorelease]);
    [builder setEventReceiverWithReceiver:silent];
    __block KCSDKPlayerEvents* events = nil;
    [builder startVideoInParentView:place()
                        overlayView:nil
                    completionBlock:^(KCSDKPlayerEvents* started, NSError* error) {
                      CHECK(!error && captured);
                      events = [started retain];
                    }];
    CHECK_TURN(events != nil);
    [events pauseVideo];
    [events exitFullScreen];
    [events stopVideo];
    [events release];
    [inner release];
    CHECK_TURN([Probe alive] == before);
}

@interface Thrower : NSObject <KCSDKPlayerEventsListner>
@end
@implementation Thrower
- (void)playerStatusWithStatus:(int64_t)status {
    [NSException raise:@"host" format:@"thrown in a listener, %d", (int)status];
}
@end

TEST_F(ObjCPlayer, whatAListenerThrowsEndsTheProcessWithItsReason) {
    const auto hear = [&] {
        KCSDKVideoViewBuilder* builder = builderFor([[[Thrower alloc] init] autorelease]);
        KCSDKPlayerEvents* events = start(builder, place(), nil)->record;
        [events pauseVideo];
    };
    EXPECT_DEATH(hear(), "thrown in a listener");
}
