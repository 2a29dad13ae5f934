#pragma once

#include <korvel/platform/foundation/Clock.h>

#include <condition_variable>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>

namespace korvel::platform::hls {

/// What loaders wait with. Work belongs to a generation; once that is overtaken, by a seek or by
/// closing, all its waits end at once and what it has under way is cancelled. Any thread; lives in
/// a `std::shared_ptr`.
class Attention : public std::enable_shared_from_this<Attention> {
public:
    using Generation = std::uint64_t;
    using After = std::function<void(Clock::Duration, std::function<void()>)>;

    Attention(std::shared_ptr<const Clock> clock, After after);

    /// Overtakes all generations so far.
    Generation raise();
    /// For good: every generation is overtaken, also those to come.
    void close();
    bool isClosed() const;
    Generation current() const;
    bool isStale(Generation generation) const;

    /// Whoever waits looks again.
    void notify();
    /// Until `done` says so, which is asked without a lock held and again after each `notify`, or
    /// until the deadline. False if the generation was overtaken.
    bool wait(Generation generation, std::optional<Clock::Instant> deadline,
              const std::function<bool()>& done);
    /// Until another generation than this one began; false once closed.
    bool waitForNext(Generation generation);
    bool sleep(Generation generation, Clock::Duration duration);

    /// While it exists, `cancel` runs, at most once, when the generation is overtaken; at once if
    /// it is already.
    class Use {
    public:
        Use(Attention& attention, Generation generation, std::function<void()> cancel);
        ~Use();
        Use(const Use&) = delete;
        Use& operator=(const Use&) = delete;

    private:
        Attention& attention_;
        std::uint64_t id_ = 0;
    };

    const Clock& clock() const { return *clock_; }

private:
    std::map<std::uint64_t, std::shared_ptr<const std::function<void()>>> overtake(bool close);
    bool isStaleLocked(Generation generation) const { return closed_ || generation != current_; }

    const std::shared_ptr<const Clock> clock_;
    const After after_;
    mutable std::mutex mutex_;
    std::condition_variable changed_;
    Generation current_ = 1;
    std::uint64_t changes_ = 0;
    std::uint64_t lastUse_ = 0;
    bool closed_ = false;
    std::map<std::uint64_t, std::shared_ptr<const std::function<void()>>> uses_;
};

}  // namespace korvel::platform::hls
