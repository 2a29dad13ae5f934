#pragma once

#include <korvel/platform/foundation/NSError.h>

#include <chrono>
#include <cstdint>
#include <string>

namespace korvel::platform {

/// What was loaded while one variant of a stream was in use. What is not known is negative.
struct AVPlayerItemAccessLogEvent {
    std::string URI{};             ///< of the variant's playlist, or of the file
    double indicatedBitrate = -1;  ///< bits a second, as the stream names them
    double observedBitrate = -1;   ///< bits a second that came while the line was in use
    std::int64_t numberOfBytesTransferred = 0;  ///< of media, sound that comes apart included
    int numberOfMediaRequests = 0;
    int numberOfStalls = 0;                       ///< how often playing stopped for want of data
    std::chrono::nanoseconds transferDuration{};  ///< how long the line was in use
    /// Seconds from the opening to the first picture; of the first event alone.
    double startupTime = -1;
};

/// What could not be loaded, and yet the stream goes on: with another variant, without that
/// segment, or later. What ended it is the item's `error`.
struct AVPlayerItemErrorLogEvent {
    std::string URI{};
    int errorStatusCode = 0;  ///< of the answer; 0: there was none, or none was asked for
    NSError error{};
};

}  // namespace korvel::platform
