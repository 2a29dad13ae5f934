#pragma once

#import "KCBridge.h"

namespace korvel {
class KCSDKPlayerEventsListner;
}

namespace kc {

/// What tells `host`, held strongly, and asks before every call whether it wants to know; null for
/// nil. Builders hold it strongly, players weakly.
std::shared_ptr<korvel::KCSDKPlayerEventsListner> listener(id<KCSDKPlayerEventsListner> host);

/// The host's object behind it; nil for a listener of C++.
id<KCSDKPlayerEventsListner> hostOf(
    const std::shared_ptr<korvel::KCSDKPlayerEventsListner>& listener);

}  // namespace kc
