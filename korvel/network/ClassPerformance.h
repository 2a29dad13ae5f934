#pragma once

#include <korvel/model/KCSDKOndemandResultRequest.h>
#include <korvel/platform/foundation/Clock.h>
#include <korvel/platform/foundation/Locale.h>

#include <cstdint>
#include <string>

namespace korvel {

class KCSDKOndemandClass;

/// The record of a class performed just now: "playedDurationSecond" carries the class's nominal
/// length, "actualDurationSecond" the seconds that ran. May read the clock until it moves (some
/// nanoseconds).
KCSDKOndemandResultRequest classPerformance(const KCSDKOndemandClass& ondemandClass,
                                            std::int64_t performedSeconds,
                                            const std::string& userId, const platform::Clock& clock,
                                            const platform::Locale& locale);

}  // namespace korvel
