#pragma once

#include <korvel/platform/foundation/Clock.h>
#include <korvel/platform/hls/Presentation.h>

#include <chrono>
#include <cstdint>
#include <deque>
#include <mutex>
#include <optional>
#include <vector>

namespace korvel::platform::hls {

/// How quick a download is of late. One thread.
class Meter {
public:
    using Time = std::chrono::nanoseconds;

    /// So much has come so far, in so much time of waiting for it.
    void add(std::uint64_t bytes, Time busy);
    /// In the last second of waiting, or since the first bytes came.
    std::uint64_t bytes() const {
        return points_.empty() ? 0 : points_.back().bytes - points_.front().bytes;
    }
    Time busy() const {
        return points_.empty() ? Time::zero() : points_.back().busy - points_.front().busy;
    }
    /// Bytes a second of late: in so much of that time, or a piece longer.
    double speed(Time during) const;
    /// For one piece, so far.
    Time longestWait() const { return longestWait_; }

private:
    struct Point {
        std::uint64_t bytes;
        Time busy;
    };
    std::deque<Point> points_;
    Time longestWait_{};
};

/// Chooses the variant for each segment, by the measured speed of the line and what is queued. Any
/// thread.
class Ladder {
public:
    using Time = std::chrono::nanoseconds;

    /// `remembered`: how quick the line was of late, bits a second; until another speed is
    /// measured it counts. Without one the least variant, which is sure, is begun with.
    explicit Ladder(std::vector<Variant> variants, VariantBounds bounds = {},
                    std::optional<double> remembered = std::nullopt);

    const std::vector<Variant>& variants() const { return variants_; }
    void setBounds(VariantBounds bounds);

    /// So much came in so much time of waiting for it.
    void measured(std::uint64_t bytes, Time busy);
    /// Not to be chosen for a while; that is the longer the more often it failed.
    void failed(std::size_t variant, Clock::Instant now);
    void worked(std::size_t variant);
    /// Whether another than `variant` is to be had.
    bool hasOther(std::size_t variant, Clock::Instant now) const;

    /// `current`: nothing at the beginning. `level`: how long what is queued lasts. `length`: of
    /// the segment.
    std::size_t choice(std::optional<std::size_t> current, Time level, Clock::Instant now,
                       Time length = std::chrono::seconds(6)) const;

    /// A segment on its way.
    struct Progress {
        std::uint64_t bytes = 0;
        std::optional<std::uint64_t> total{};
        const Meter& meter;
        Time duration{};  ///< of the segment
        Time level{};     ///< how long what is queued lasts
    };
    /// Whether it would end after what is queued, and what the line carries would end far sooner.
    /// Then the next choice is by the speed of this download alone.
    bool gaveUp(std::size_t variant, const Progress& progress, Clock::Instant now);

    /// Bits a second; nothing before anything was measured.
    std::optional<double> speed() const;

private:
    struct State {
        int failures = 0;
        Clock::Instant until{};  ///< not chosen before
    };
    bool isAllowed(std::size_t variant) const;
    bool isAlive(std::size_t variant, Clock::Instant now) const;
    double speedLocked() const { return speed_.value_or(remembered_.value_or(0)); }
    /// The best of so many bits a second at most, else the least, of those that may be chosen.
    std::size_t affordable(double budget, Clock::Instant now) const;

    const std::vector<Variant> variants_;
    mutable std::mutex mutex_;
    std::vector<State> states_;
    VariantBounds bounds_;
    const std::optional<double> remembered_;
    std::optional<double> speed_;
    struct {
        std::uint64_t bytes = 0;
        Time busy{};
    } small_;  ///< what came since, too little to tell a speed by
};

}  // namespace korvel::platform::hls
