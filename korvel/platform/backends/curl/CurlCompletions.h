#pragma once

#include <korvel/platform/backends/curl/CurlTransfer.h>
#include <korvel/platform/backends/curl/URLSessionCurl.h>

#include <atomic>
#include <chrono>
#include <cstdint>
#include <deque>
#include <memory>
#include <mutex>
#include <optional>
#include <vector>

namespace korvel::platform {

/// Runs the completions of a session's rounds, in the background or on the leader's thread.
///
/// One thread takes them all, as waking another for each costs more than most completions do. Where
/// none has ended for a moment, because one blocks or computes, each that waits gets a thread: no
/// host's completion holds up another's for longer.
///
/// Thread safety: any thread.
class CurlCompletions : public std::enable_shared_from_this<CurlCompletions> {
public:
    using Transfer = std::shared_ptr<CurlTransfer>;

    explicit CurlCompletions(BackgroundExecutor background) : background_(std::move(background)) {}

    /// Takes the transfers out of `done`, which is empty afterwards.
    void add(std::vector<Transfer>& done);
    /// The same, but they are run here unless a thread is at it already.
    void run(std::vector<Transfer>& done);
    /// Whether completions have taken next to no time of late, so that a thread that others wait
    /// for may run them.
    bool areQuick() const { return usual_.load(std::memory_order_relaxed) < quick; }

private:
    using Lock = std::unique_lock<std::mutex>;
    static constexpr std::chrono::nanoseconds quick = std::chrono::microseconds(50);

    /// The crew, if it is to be started; nothing where one is at it.
    std::optional<std::uint64_t> take(std::vector<Transfer>& done);
    void start(std::size_t threads, std::uint64_t crew);
    void run(std::uint64_t crew);
    void watch();
    void look();

    const BackgroundExecutor background_;
    std::mutex mutex_;  // guards what follows
    std::deque<Transfer> waiting_;
    std::uint64_t taken_ = 0;      // of all that ever waited
    std::uint64_t takenSeen_ = 0;  // by the watch
    std::uint64_t crew_ = 0;       // the threads that count; former ones end with what they are at
    std::size_t running_ = 0;      // threads of the crew
    bool watched_ = false;
    std::atomic<std::chrono::nanoseconds> usual_{};  // time that a completion takes
};

}  // namespace korvel::platform
