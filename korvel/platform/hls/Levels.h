#pragma once

#include <korvel/platform/foundation/Clock.h>
#include <korvel/platform/hls/Media.h>
#include <korvel/platform/hls/SampleOutput.h>

#include <array>
#include <chrono>
#include <cstddef>
#include <mutex>
#include <optional>

namespace korvel::platform::hls {

/// What is queued of each kind, and whether it suffices to play on. Any thread; calls nobody, so
/// that the position is given to it.
class Levels {
public:
    using Time = std::chrono::nanoseconds;

    /// As many bytes queued of all kinds count as enough, whatever time they last.
    static constexpr std::size_t mostBytes = std::size_t{48} << 20U;
    /// So much time is wanted before it goes on after a stall.
    static constexpr Time toGoOn = std::chrono::seconds(2);

    void setTracks(Tracks tracks);
    /// Everything is thrown away; `target` is where it goes on.
    void restart(Time target);
    void setRate(double rate);

    void added(Kind kind, const Sample& sample);
    void taken(Kind kind, std::size_t bytes);
    void starved(Kind kind);
    void ended(Kind kind);

    /// Where what is queued of that kind ends; nothing before anything was.
    std::optional<Time> end(Kind kind) const;
    /// Whether the stream holds that kind.
    bool isThere(Kind kind) const;
    /// How much time what is queued of a kind lasts; nothing once it has ended.
    std::optional<Time> level(Kind kind, Time position) const;
    /// The least of all kinds; nothing once all have ended.
    std::optional<Time> level(Time position) const;
    std::size_t bytes(Kind kind) const;

    struct Verdict {
        bool isEnough = false;
        /// Ask again after so long: a queue is empty, but what it gave is still being played.
        std::optional<Time> again{};
    };
    Verdict judge(Time position);
    /// As last judged.
    bool isEnough() const;
    int stalls() const;

private:
    struct Queue {
        bool isThere = false;
        std::optional<Time> end{};
        Time newest{};  ///< the last two times of samples that do not tell how long they last
        std::optional<Time> before{};
        std::size_t bytes = 0;
        bool isEnded = false;
        bool isStarved = false;
    };
    std::optional<Time> levelOf(const Queue& queue, Time position) const;
    Queue& of(Kind kind) { return queues_.at(static_cast<std::size_t>(kind)); }
    const Queue& of(Kind kind) const { return queues_.at(static_cast<std::size_t>(kind)); }

    mutable std::mutex mutex_;
    std::array<Queue, 2> queues_;
    Time target_{};
    double rate_ = 1;
    bool isKnown_ = false;
    bool isEnough_ = false;
    bool hasStalled_ = false;  ///< since the last restart
    int stalls_ = 0;
};

}  // namespace korvel::platform::hls
