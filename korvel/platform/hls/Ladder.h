#pragma once

#include <korvel/platform/foundation/Clock.h>
#include <korvel/platform/hls/Presentation.h>

#include <chrono>
#include <cstdint>
#include <mutex>
#include <optional>
#include <vector>

namespace korvel::platform::hls {

/// Chooses the variant for each segment, by the measured speed of the line and what is queued. Any
/// thread.
class Ladder {
public:
    using Time = std::chrono::nanoseconds;

    explicit Ladder(std::vector<Variant> variants, VariantBounds bounds = {});

    const std::vector<Variant>& variants() const { return variants_; }
    void setBounds(VariantBounds bounds);

    /// So much came in so much time of waiting for it.
    void measured(std::uint64_t bytes, Time busy);
    /// Not to be chosen for a while; that is the longer the more often it failed.
    void failed(std::size_t variant, Clock::Instant now);
    void worked(std::size_t variant);
    /// Whether another than `variant` is to be had.
    bool hasOther(std::size_t variant, Clock::Instant now) const;

    /// `current`: nothing at the beginning. `level`: how long what is queued lasts.
    std::size_t choice(std::optional<std::size_t> current, Time level, Clock::Instant now) const;

    /// A segment on its way.
    struct Progress {
        std::uint64_t bytes = 0;
        std::optional<std::uint64_t> total{};
        Time busy{};
        Time duration{};  ///< of the segment
        Time level{};     ///< how long what is queued lasts
    };
    /// Whether it would end after what is queued, and a lesser variant would not take as long.
    bool isHopeless(std::size_t variant, const Progress& progress, Clock::Instant now) const;

    /// Bits a second; nothing before anything was measured.
    std::optional<double> speed() const;

private:
    struct State {
        int failures = 0;
        Clock::Instant until{};  ///< not chosen before
    };
    bool isAllowed(std::size_t variant) const;
    bool isAlive(std::size_t variant, Clock::Instant now) const;
    double speedLocked() const;

    const std::vector<Variant> variants_;
    mutable std::mutex mutex_;
    std::vector<State> states_;
    VariantBounds bounds_;
    std::optional<double> speed_;
};

}  // namespace korvel::platform::hls
