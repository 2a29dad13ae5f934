#pragma once

/// Everything that a host application needs, in one include: client, facade and records, the player
/// down to its stream, the device and the run loop. Views, windows and controls of the host's own
/// making are in korvel/platform/uikit/, media engines and screens with their libraries.

#if __cplusplus < 202002L
#error "KorvelContentSDK needs C++20: compile with -std=c++20, or set CMAKE_CXX_STANDARD to 20"
#else

#include <korvel/client/ContentClient.h>
#include <korvel/client/Playback.h>
#include <korvel/model/KCSDKConsent.h>
#include <korvel/model/KCSDKOndemandClass.h>
#include <korvel/model/KCSDKOndemandClassResponse.h>
#include <korvel/model/KCSDKOndemandCollection.h>
#include <korvel/model/KCSDKOndemandFilterRequest.h>
#include <korvel/model/KCSDKOndemandMetaData.h>
#include <korvel/model/KCSDKOndemandResultRequest.h>
#include <korvel/model/KCSDKOndemandSearchResult.h>
#include <korvel/model/KCSDKUser.h>
#include <korvel/model/KCSDKUserSubscriptionRequest.h>
#include <korvel/platform/Device.h>
#include <korvel/platform/avfoundation/AVPlayer.h>
#include <korvel/platform/avfoundation/AVPlayerItem.h>
#include <korvel/platform/foundation/RunLoop.h>
#include <korvel/platform/uikit/UIView.h>
#include <korvel/player/KCSDKPlayerEventsListner.h>
#include <korvel/player/KCSDKPlayerOverlay.h>
#include <korvel/player/KCSDKPlayerView.h>
#include <korvel/player/KCSDKPlayerViewController.h>
#include <korvel/player/KCSDKPlayerViewModel.h>
#include <korvel/presentation/KCSDKPlayerEvents.h>
#include <korvel/presentation/KCSDKVideoViewBuilder.h>
#include <korvel/sdk/KCSDK.h>
#include <korvel/session/KCSDKConfig.h>

#endif
