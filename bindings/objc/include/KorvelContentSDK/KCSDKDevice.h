#import <KorvelContentSDK/KCSDKObject.h>

NS_ASSUME_NONNULL_BEGIN

@class KCSDKPlayerView;

typedef void (^KCSDKTaskBlock)(void);
typedef void (^KCSDKStreamFailureBlock)(KCSDKPlayerView* player, NSError* error);

/// The machine below the SDK: what a host may choose about it, and who drives its main queue.
KORVEL_OBJC_API
@interface KCSDKDevice : NSObject
/// Before the first use of the rest; NO, and nothing changes, after it. Any thread.
/// `name`: names the data folder; nil: the program's file name. `folder`: where that lies; nil: the
/// user's own. `authorityFile`: PEM file trusted instead of the system's authorities. `media`: with
/// the media engine of korvel::gstreamer, without which starts complete and nothing plays; NO if
/// that library is not installed beside this one, or cannot play here.
+ (BOOL)installWithApplicationName:(nullable NSString*)name
                        dataFolder:(nullable NSString*)folder
              certificateAuthority:(nullable NSString*)authorityFile
                             media:(BOOL)media;

/// From now on the main thread's NSRunLoop drives the SDK's main queue: views, players, listeners
/// and log-ins stand still unless it turns. Without it a thread of the SDK's own does. NO, and
/// nothing changes, on another than the main thread, or if a toolkit or a run loop of the SDK's
/// drives the queue already. A second call is as good as the first.
+ (BOOL)attachMainQueueToRunLoop;

/// `task` runs there, later. Any thread.
+ (void)performOnMainQueue:(KCSDKTaskBlock)task;

/// Called on the main queue when the stream of a player that was started from here fails, once a
/// stream: its listener hears nothing of it. nil: nobody. Any thread; counts at once, for running
/// players, too.
+ (void)setStreamFailureHandler:(nullable KCSDKStreamFailureBlock)handler;
@end

NS_ASSUME_NONNULL_END
