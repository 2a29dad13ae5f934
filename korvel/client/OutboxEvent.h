#pragma once

#include <korvel/network/Failure.h>

#include <cstddef>
#include <functional>
#include <optional>
#include <string>

namespace korvel {

/// What has become of a performance that a client recorded, now or long ago.
struct OutboxEvent {
    enum class Kind {
        kept,        ///< it could not be delivered; `failure` says why, and it is sent again
        accepted,    ///< the service has it
        refused,     ///< for good; `failure` says why
        crowdedOut,  ///< it was the oldest of too many, and is lost
    };
    Kind kind;
    std::string performance;  ///< the "ID" of its record
    std::optional<Failure> failure = {};
};
/// Any thread; one event at a time. Must not throw.
using OutboxObserver = std::function<void(const OutboxEvent&)>;

}  // namespace korvel
