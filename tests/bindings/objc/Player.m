#import "Host.h"

@interface Silent : Probe <KCSDKPlayerEventsListner>
@end
@implementation Silent
@end

static UIView* place(void) {
    return [[[UIView alloc] initWithFrame:NSMakeRect(0, 0, 1280, 720)] autorelease];
}

static KCSDKVideoViewBuilder* builderFor(NSString* tag) {
    return
        [[[KCSDKVideoViewBuilder alloc] initWithOndemandClassInfo:classDetails(tag)] autorelease];
}

static Answer* start(KCSDKVideoViewBuilder* builder, UIView* parent, UIView* overlay) {
    Answer* answer = [Answer answer];
    [builder startVideoInParentView:parent overlayView:overlay completionBlock:[answer block]];
    CHECK([answer turn] && answer->onMain);
    return answer;
}

static void acceptConsent(NSString* tag) {
    Answer* answer = [Answer answer];
    [KCSDK acceptConsentWithTag:tag completionBlock:[answer errorBlock]];
    CHECK([answer wait] && !answer->error);
}

static void subscribe(void) {
    KCSDKUserSubscriptionRequest* gold =
        [[[KCSDKUserSubscriptionRequest alloc] initWithStartDate:[NSDate date]
                                                  subscriptionId:@"gold"] autorelease];
    Answer* answer = [Answer answer];
    [KCSDK activateSubscriptionWithSubscription:gold completionBlock:[answer errorBlock]];
    CHECK([answer wait] && !answer->error);
}

/// Logged in, allowed to play, on a device that cannot.
static void setUpPlayer(const struct Service* service) {
    setUp(service);
    logIn();
    acceptConsent(@"privacy-2024");
    subscribe();
    CHECK([KCSDKDevice attachMainQueueToRunLoop]);
}

@interface OwnBuilder : KCSDKVideoViewBuilder {
@public
    int added;
}
@end
@implementation OwnBuilder
@end

void look(const struct Service* service) {
    setUp(service);
    OwnBuilder* builder =
        [[[OwnBuilder alloc] initWithOndemandClassInfo:classDetails(@"50102")] autorelease];
    builder->added = 7;
    CHECK_TEXT(builder.ondemandClass.tag, @"50102");
    UIColor* white = [UIColor whiteColor];
    UIColor* red = [UIColor colorWithRed:1 green:0 blue:0 alpha:1];
    UIColor* black = [UIColor blackColor];
    UIImage* close = builder.closeImage;
    CHECK(builder.autoPlay && builder.isFullScreenEnabled && !builder.isCustomOverlayViewPresent);
    CHECK([builder.titleTextColor isEqual:white] && !builder.buttonColor && !builder.eventReceiver);
    CHECK([builder.titleFont isEqual:[UIFont boldSystemFontOfSize:28]]);
    CHECK(close.size.width > 0 && ![close isEqual:builder.playImage] && [close isEqual:close]);
    CHECK(!builder.showHideDuration && !builder.overlayView);
    CHECK_TEXT(builder.classTitle, @"");

    [builder setThemeColorWithColor:red];
    [builder setExitButtonColorWithColor:black];
    CHECK([builder.buttonColor isEqual:red] && [builder.closeButtonColor isEqual:black]);
    CHECK([builder.sliderTintColor isEqual:red] && [builder.titleTextColor isEqual:red]);
    [builder setTitleTextColorWithColor:black];
    [builder setTitleTextColorWithColor:nil];
    [builder setPlayPauseButtonColorWithColor:nil];
    CHECK([builder.titleTextColor isEqual:black] && !builder.buttonColor);
    [builder setProgressSliderTintColorWithMincolor:red maxcolor:nil thumbtint:black tintColor:nil];
    CHECK([builder.sliderMinTrackColor isEqual:red] && !builder.sliderMaxTrackColor);
    CHECK([builder.sliderThumbTintColor isEqual:black] && !builder.sliderTintColor);
    [builder setTitleFontWithFont:[UIFont fontWithName:@"Inter" size:14]];
    CHECK(builder.titleFont.pointSize == 14);
    CHECK_TEXT(builder.titleFont.familyName, @"Inter");
    [builder setAutoPlayWithEnable:NO];
    [builder setShowHideDurationWithDuration:2.5];
    CHECK(!builder.autoPlay && [builder.showHideDuration doubleValue] == 2.5);
    [builder setPlayButtonImageWithImage:close];
    [builder setPauseButtonImageWithImage:close];
    [builder setExitButtonImageWithImage:nil];
    CHECK([builder.playImage isEqual:close] && [builder.pauseImage isEqual:close]);
    CHECK(builder.closeImage && builder.closeImage.size.width == 0);
    CHECK(![UIImage imageWithData:[NSData data]] && ![UIImage imageWithContentsOfFile:@"/none"]);
    UIView* view = place();
    builder.overlayView = view;
    builder.classTitle = @"title";
    builder.isFullScreenEnabled = NO;
    builder.isCustomOverlayViewPresent = YES;
    CHECK(builder.overlayView == view && !builder.isFullScreenEnabled);
    CHECK(builder.isCustomOverlayViewPresent && [builder.classTitle isEqual:@"title"]);

    UILabel* label = [[[UILabel alloc] initWithFrame:NSMakeRect(1, 2, 3, 4)] autorelease];
    label.text = @"text";
    label.font = [UIFont systemFontOfSize:9];
    label.textColor = red;
    label.alpha = 0.5;
    label.hidden = YES;
    label.backgroundColor = [UIColor clearColor];
    label.tintColor = red;
    CHECK([label.text isEqual:@"text"] && label.font.pointSize == 9 && label.alpha == 0.5);
    CHECK([label.textColor isEqual:red] && [label.tintColor isEqual:red] && label.isHidden);
    CHECK([label.backgroundColor isEqual:[UIColor clearColor]]);
    [view addSubview:label];
    CHECK(label.superview == view && [view.subviews isEqual:[NSArray arrayWithObject:label]]);
    CHECK(NSEqualRects(label.frame, NSMakeRect(1, 2, 3, 4)));
    [label removeFromSuperview];
    CHECK(!label.superview && [view.subviews count] == 0);
    CHECK([[[[UIButton alloc] initWithFrame:NSZeroRect] autorelease] isKindOfClass:[UIView class]]);
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
    [events seekToTimeValue:16];
    CHECK_TURN(listener->position >= 16);
}

/// A user's first evening: everything that wants a permission, then a protected class.
void consentSubscriptionAndPlay(const struct Service* service) {
    installDevice(service, YES);
    [KCSDK initializeWithConfig:makeConfig([NSString stringWithUTF8String:service->url])];
    logIn();
    CHECK([KCSDKDevice attachMainQueueToRunLoop]);
    UIView* parent = place();
    Listener* listener = [[[Listener alloc] init] autorelease];
    KCSDKVideoViewBuilder* builder = builderFor(@"50102");
    [builder setThemeColorWithColor:[UIColor whiteColor]];
    [builder setEventReceiverWithReceiver:listener];
    CHECK(builder.eventReceiver == listener);

    Answer* first = start(builder, parent, nil);
    KCSDKConsent* consent = [[first->error userInfo] objectForKey:@"consent"];
    CHECK(!first->record && [first->error code] == 601);
    CHECK_TEXT([first->error domain], @"SDK");
    CHECK([consent isKindOfClass:[KCSDKConsent class]] && consent.isMandatory);
    acceptConsent(consent.consentTag);
    CHECK([start(builder, parent, nil)->error code] == 403);
    subscribe();
    Answer* third = start(builder, parent, nil);
    KCSDKPlayerEvents* events = third->record;
    CHECK(events && !third->error && events.parentView == parent && !events.parentFrame);
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
    Answer* cancelled = [Answer answer];
    [KCSDK cancelSubscriptionWithCompletionBlock:[cancelled errorBlock]];
    CHECK([cancelled wait] && !cancelled->error);
}

/// Under a host's own controls nothing of the SDK's is there, and the stream's end is told.
void ownOverlay(const struct Service* service) {
    setUpPlayer(service);
    Answer* failure = [Answer answer];
    [KCSDKDevice setStreamFailureHandler:[failure block]];
    Listener* listener = [[[Listener alloc] init] autorelease];
    KCSDKVideoViewBuilder* builder = builderFor(@"50102");
    [builder setEventReceiverWithReceiver:listener];
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
    view.bearerToken = @"bearer";
    view.totalPerformedTime = 7;
    view.isProgressUpdating = YES;
    view.videoGravity = AVLayerVideoGravityResize;
    CHECK(view.eventListner == events && [view.bearerToken isEqual:@"bearer"]);
    CHECK(view.isProgressUpdating && [view.videoGravity isEqual:AVLayerVideoGravityResize]);
    CHECK_TEXT(view.classTag, @"50102");
    overlay.viewModel = view.viewModel;
    overlay.playerConfig = builder;
    CHECK(overlay.viewModel && overlay.viewModel == view.viewModel);
    CHECK(overlay.playerConfig == builder);
    overlay.playerConfig = nil;
    view.eventListner = nil;
    [view closeBtnTapped];
    CHECK(listener->exits == 1 && listener->performed == 7);
    [KCSDKDevice setStreamFailureHandler:nil];

    KCSDKPlayerView* own =
        [[[KCSDKPlayerView alloc] initWithFrame:NSMakeRect(1, 2, 3, 4)] autorelease];
    CHECK(own.frame.size.width == 3 && !own.viewModel && !own.overlayController && !own.delegate);
    own.viewModel = [[[KCSDKPlayerViewModel alloc]
        initWithContent:events.playerVC.viewModel.ondemandContent] autorelease];
    CHECK(own.viewModel.ondemandContent == events.playerVC.viewModel.ondemandContent);
}

void fullScreenWithoutWindow(const struct Service* service) {
    setUpPlayer(service);
    Listener* listener = [[[Listener alloc] init] autorelease];
    KCSDKVideoViewBuilder* builder = builderFor(@"50102");
    [builder setEventReceiverWithReceiver:listener];
    KCSDKPlayerEvents* events = start(builder, nil, nil)->record;
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
void silentListener(const struct Service* service) {
    setUpPlayer(service);
    NSAutoreleasePool* pool = [[NSAutoreleasePool alloc] init];
    Probe* captured = [[[Probe alloc] init] autorelease];
    Silent* silent = [[[Silent alloc] init] autorelease];
    KCSDKVideoViewBuilder* builder = builderFor(@"50102");
    [builder setEventReceiverWithReceiver:[[[Silent alloc] init] autorelease]];
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
    [pool release];
    CHECK_TURN([Probe alive] == 0);
}

@interface Thrower : NSObject <KCSDKPlayerEventsListner>
@end
@implementation Thrower
- (void)playerStatusWithStatus:(int64_t)status {
    [NSException raise:@"host" format:@"thrown in a listener, %d", (int)status];
}
@end

void throwInListener(const struct Service* service) {
    setUpPlayer(service);
    KCSDKVideoViewBuilder* builder = builderFor(@"50102");
    [builder setEventReceiverWithReceiver:[[[Thrower alloc] init] autorelease]];
    KCSDKPlayerEvents* events = start(builder, place(), nil)->record;
    [events pauseVideo];
}
