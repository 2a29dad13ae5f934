#import <KorvelContentSDK/KCSDKRecords.h>
#import <KorvelContentSDK/KCSDKUIKit.h>

NS_ASSUME_NONNULL_BEGIN

@class KCSDKPlayerEvents, KCSDKPlayerView, KCSDKVideoViewBuilder;

// The player. All of it belongs to the SDK's main queue: +[KCSDKDevice attachMainQueueToRunLoop]
// makes that the main thread, +[KCSDKDevice performOnMainQueue:] leads there.

/// What a running player tells the host. Implement any of it, or nothing: each is asked for before
/// every call. Held strongly by the builder it was given to, weakly by the player. What one throws
/// ends the process.
@protocol KCSDKPlayerEventsListner <NSObject>
@optional
/// 1: the play/pause toggle started playback, 0: it paused it.
- (void)playerStatusWithStatus:(int64_t)status;
/// Whole seconds performed so far: the player was closed, came to its end, or left full screen.
- (void)playerExitWithDuration:(int64_t)duration;
/// Seconds, 150 times a second. A 32-bit float: a listener that declares double reads rubbish.
- (void)currentVideoPositionWithDurationPlayedSeconds:(float)durationPlayedSeconds;
/// Right after each position; seconds, a 32-bit float, too.
- (void)totalVideoDurationWithTotalDuration:(float)totalDuration;
// Each tells that its value has changed, to false as well.
- (void)playbackBufferEmpty;
- (void)playbackLikelyToKeepUp;
@end

/// The class being played.
KORVEL_OBJC_API
@interface KCSDKPlayerViewModel : KCSDKObject
/// Without a class it raises NSInvalidArgumentException.
- (instancetype)initWithContent:(KCSDKOndemandClass*)content;
@property(nonatomic, strong) KCSDKOndemandClass* ondemandContent;  ///< nil raises, too
@end

/// The SDK's controls over the picture. Over a host's own overlay it exists as well, with that as
/// its view; the controls are nil then, and a tap on them ends the process.
KORVEL_OBJC_API
@interface KCSDKPlayerOverlay : UIViewController
@property(nonatomic, strong, nullable) KCSDKPlayerViewModel* viewModel;      ///< the host's own
@property(nonatomic, strong, nullable) KCSDKVideoViewBuilder* playerConfig;  ///< the host's own
@property(nonatomic, readonly, nullable) UIView* viewTap;  ///< alpha 0: the controls are hidden
@property(nonatomic, readonly, nullable) UIButton* btnPlay;
@property(nonatomic, readonly, nullable) UIButton* btnClose;
@property(nonatomic, readonly, nullable) UISlider* slider;  ///< seconds
@property(nonatomic, readonly, nullable) UILabel* lblTitle;
@property(nonatomic, readonly, nullable) UIView* viewLoader;
@property(nonatomic, strong, nullable) UIImage* playImage;   ///< shown while paused
@property(nonatomic, strong, nullable) UIImage* pauseImage;  ///< shown while playing
@property(nonatomic, copy, nullable) UIColor* buttonColor;
/// Shows the controls if they are hidden, hides them if they are shown, within a second.
- (void)didTapWithSender:(nullable id)sender;
@end

typedef NSString* AVLayerVideoGravity;
KORVEL_OBJC_API extern AVLayerVideoGravity const AVLayerVideoGravityResizeAspect;
KORVEL_OBJC_API extern AVLayerVideoGravity const AVLayerVideoGravityResizeAspectFill;
KORVEL_OBJC_API extern AVLayerVideoGravity const AVLayerVideoGravityResize;

/// Shows a class.
KORVEL_OBJC_API
@interface KCSDKPlayerView : UIView
/// One of the three above, else it raises. nil: the picture fills the view and is cut off. Read at
/// the first load, which a builder has done by the time that it hands the player over.
@property(nonatomic, copy, nullable) AVLayerVideoGravity videoGravity;
@property(nonatomic, readonly, nullable) KCSDKPlayerOverlay* overlayController;
@property(nonatomic, strong, nullable) KCSDKPlayerEvents* eventListner;  ///< the host's own
@property(nonatomic) int64_t totalPerformedTime;  ///< seconds with a rate other than zero
@property(nonatomic) BOOL isProgressUpdating;     ///< the slider is being dragged
@property(nonatomic) BOOL isCustomOverlayAdded;
@property(nonatomic, copy, nullable) NSString* bearerToken;  ///< the host's own
@property(nonatomic, copy, nullable) NSString* classTag;
/// Keys of protected streams are asked for only with one.
@property(nonatomic, strong, nullable) KCSDKPlayerViewModel* viewModel;
/// The builder's receiver; it owns it.
@property(nonatomic, readonly, nullable) id<KCSDKPlayerEventsListner> delegate;
// What the SDK's controls do, for a host's own.
- (void)closeBtnTapped;
- (void)changePlayerState;
- (void)sliderMoved;
- (void)sliderValueChanged;
/// "playbackLikelyToKeepUp" and "playbackBufferEmpty" of the stream; others are ignored.
- (void)observeValueForKeyPath:(nullable NSString*)keyPath
                      ofObject:(nullable id)object
                        change:(nullable NSDictionary*)change
                       context:(nullable void*)context;
@end

/// Holds the player view: portrait only, or landscape only while the full-screen flag is set.
KORVEL_OBJC_API
@interface KCSDKPlayerViewController : UIViewController
@property(nonatomic, strong, nullable) KCSDKPlayerViewModel* viewModel;
@property(nonatomic, strong, nullable) KCSDKVideoViewBuilder* playerConfig;
@property(nonatomic, readonly, nullable) KCSDKPlayerView* viewVideo;
@end

/// The host's remote control of one player. Keeping it keeps the player's controller and the parent
/// view; letting go of it stops nothing. Let go of it once the player has closed.
KORVEL_OBJC_API
@interface KCSDKPlayerEvents : KCSDKObject
@property(nonatomic, readonly) KCSDKPlayerViewController* playerVC;
@property(nonatomic, readonly, nullable) UIView* parentView;  ///< nil: started full screen
/// A rectangle, noted at the last exit from full screen.
@property(nonatomic, copy, nullable) NSValue* parentFrame;
// Both flip between playing and paused.
- (void)playVideo;
- (void)pauseVideo;
/// As the close button, and the view goes at once. A second call reports and records again.
- (void)stopVideo;
// Both flip between shown and hidden.
- (void)showOverlayView;
- (void)hideOverlayView;
- (void)enterFullScreen;
/// Reports an exit although nothing closed.
- (void)exitFullScreen;
/// Seconds; exactly there, or to the nearest end of the stream.
- (void)seekToTimeValue:(float)timeValue;
@end

typedef void (^KCSDKStartBlock)(KCSDKPlayerEvents* _Nullable events, NSError* _Nullable error);

/// Describes a player's look and starts one class. May start again when no player came of it.
KORVEL_OBJC_API
@interface KCSDKVideoViewBuilder : KCSDKObject
- (instancetype)initWithOndemandClassInfo:(nullable KCSDKOndemandClass*)ondemandClassInfo;
// Setters store; nothing shows before the start. The last one to set a colour wins. nil: none,
// where there may be none, an empty image, else nothing changes.
- (void)setPlayButtonImageWithImage:(UIImage*)image;
- (void)setPauseButtonImageWithImage:(UIImage*)image;
- (void)setPlayPauseButtonColorWithColor:(UIColor*)color;
- (void)setExitButtonImageWithImage:(UIImage*)image;
- (void)setExitButtonColorWithColor:(UIColor*)color;
- (void)setProgressSliderTintColorWithMincolor:(nullable UIColor*)mincolor
                                      maxcolor:(nullable UIColor*)maxcolor
                                     thumbtint:(nullable UIColor*)thumbtint
                                     tintColor:(nullable UIColor*)tintColor;
- (void)setTitleTextColorWithColor:(UIColor*)color;
- (void)setTitleFontWithFont:(UIFont*)font;
- (void)setAutoPlayWithEnable:(BOOL)enable;
/// Buttons, slider and title; not the slider's tracks and thumb.
- (void)setThemeColorWithColor:(UIColor*)color;
- (void)setShowHideDurationWithDuration:(double)duration;  ///< seconds; no visible effect
/// Held strongly, and the player holds the builder: a receiver that keeps the events object must
/// let go of it at the exit, or neither ever goes.
- (void)setEventReceiverWithReceiver:(nullable id<KCSDKPlayerEventsListner>)receiver;

/// Asks the service to perform the class, then shows it: embedded in `parentView`, or full screen
/// if that is nil; under the SDK's controls, or the host's `overlayView`. The block runs on the
/// main queue, at most once. Error 601: the user must consent first, userInfo holds a KCSDKConsent,
/// or "na", as "consent". 403: there is no subscription. Neither events nor error: the service
/// knows no such class. Never: no connection, or before +[KCSDK initializeWithConfig:].
- (void)startVideoInParentView:(nullable UIView*)parentView
                   overlayView:(nullable UIView*)overlayView
               completionBlock:(nullable KCSDKStartBlock)completionBlock;

// The state behind the setters. The default pictures are crossed on purpose.
@property(nonatomic, strong) UIImage* playImage;
@property(nonatomic, strong) UIImage* pauseImage;
@property(nonatomic, strong) UIImage* closeImage;
@property(nonatomic, copy, nullable) UIColor* buttonColor;
@property(nonatomic, copy, nullable) UIColor* closeButtonColor;
@property(nonatomic, copy, nullable) UIColor* sliderMinTrackColor;
@property(nonatomic, copy, nullable) UIColor* sliderMaxTrackColor;
@property(nonatomic, copy, nullable) UIColor* sliderThumbTintColor;
@property(nonatomic, copy, nullable) UIColor* sliderTintColor;
@property(nonatomic, strong) UIFont* titleFont;
@property(nonatomic, copy) UIColor* titleTextColor;
@property(nonatomic, copy) NSString* classTitle;  ///< of the record that the service returned
@property(nonatomic, strong, nullable) UIView* overlayView;       ///< kept, not used
@property(nonatomic, copy, nullable) NSNumber* showHideDuration;  ///< kept, not used
@property(nonatomic, readonly, nullable) KCSDKOndemandClass* ondemandClass;
@property(nonatomic) BOOL isFullScreenEnabled;         ///< written at the start, not used
@property(nonatomic) BOOL isCustomOverlayViewPresent;  ///< kept, not used
@property(nonatomic, strong, nullable) id<KCSDKPlayerEventsListner> eventReceiver;
@property(nonatomic) BOOL autoPlay;
@end

NS_ASSUME_NONNULL_END
