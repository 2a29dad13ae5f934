#include <korvel/player/KCSDKPlayerEventsListner.h>

namespace korvel {

KCSDKPlayerEventsListner::~KCSDKPlayerEventsListner() = default;

void KCSDKPlayerEventsListner::playerStatusWithStatus(std::int64_t) {}
void KCSDKPlayerEventsListner::playerExitWithDuration(std::int64_t) {}
void KCSDKPlayerEventsListner::currentVideoPositionWithDurationPlayedSeconds(float) {}
void KCSDKPlayerEventsListner::totalVideoDurationWithTotalDuration(float) {}
void KCSDKPlayerEventsListner::playbackBufferEmpty() {}
void KCSDKPlayerEventsListner::playbackLikelyToKeepUp() {}

}  // namespace korvel
