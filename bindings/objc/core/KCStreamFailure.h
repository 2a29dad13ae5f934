#pragma once

#import "KCBridge.h"

namespace korvel {
class KCSDKPlayerEvents;
}

namespace kc {

/// nil: nobody. Any thread.
void setStreamFailureHandler(KCSDKStreamFailureBlock handler);

/// Watches the stream of a player that has just started, as long as there is one. Main queue.
void watchStream(const korvel::KCSDKPlayerEvents& events);

}  // namespace kc
