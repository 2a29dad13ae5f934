#pragma once

#include <korvel/platform/foundation/MainQueue.h>

#include <atomic>
#include <stdexcept>

namespace korvel::doubles {

/// A clock that stands still until a test moves it. Any thread.
class VirtualClock final : public platform::Clock {
public:
    using WallTime = std::chrono::system_clock::time_point;

    Instant now() const override { return start + Duration(elapsed_.load()); }
    /// Noon of 2 January 2024, UTC, at first.
    WallTime date() const override {
        return WallTime(std::chrono::seconds(1704196800)) +
               std::chrono::duration_cast<WallTime::duration>(Duration(elapsed_.load()));
    }

    /// Moves the time and runs nothing.
    void advance(Duration duration) { elapsed_ += duration.count(); }

    /// Moves the time from deadline to deadline, so that each task of `queue`, made with
    /// `Driver::manual` and this clock, sees the time at which it is due; tasks given meanwhile run
    /// too.
    void advance(platform::MainQueue& queue, Duration duration) {
        const Instant end = now() + duration;
        while (true) {
            const auto next = settle(queue);
            if (!next || *next > end) break;
            advance(*next - now());
        }
        advance(end - now());
        settle(queue);
    }

    /// Runs what is due at this moment and all that follows from it; the next deadline.
    std::optional<Instant> settle(platform::MainQueue& queue) {
        for (int drains = 0; drains < 100'000; ++drains) {
            const auto next = queue.drain();
            if (!next || *next > now()) return next;
        }
        throw std::logic_error("The tasks of the queue give new ones without end.");
    }

private:
    /// Long after the clock's beginning, as on a real device: differences may go below zero.
    static constexpr Instant start{std::chrono::hours(24)};

    std::atomic<Duration::rep> elapsed_ = 0;
};

}  // namespace korvel::doubles
