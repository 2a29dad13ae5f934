#pragma once

#include <korvel/network/Failure.h>
#include <korvel/platform/foundation/Clock.h>

#include <optional>

namespace korvel {

/// How far a player's first content key has come, on the device's clock, and what last kept a key
/// from coming.
struct KeyProgress {
    using Moment = std::optional<platform::Clock::Instant>;
    Moment tokenAsked{};
    Moment token{};
    Moment requested{};  ///< of the key server
    Moment answered{};
    std::optional<Failure> failure{};
};

}  // namespace korvel
