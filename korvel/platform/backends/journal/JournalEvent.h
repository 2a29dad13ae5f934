#pragma once

#include <korvel/platform/localytics/Localytics.h>

#include <chrono>
#include <string>

namespace korvel::platform {

/// One tagged event as it was kept. Empty texts: not known when it was tagged.
struct JournalEvent {
    std::string id;  ///< unique in the world, so that a collector can drop repeats
    std::string name;
    Localytics::Attributes attributes;
    std::string appKey;
    std::string sessionId;
    std::string customerId;
    std::chrono::system_clock::time_point time;  ///< in whole milliseconds

    bool operator==(const JournalEvent&) const = default;
};

}  // namespace korvel::platform
