#pragma once

#include <korvel/platform/backends/curl/CurlTransfer.h>
#include <korvel/platform/backends/curl/URLSessionCurl.h>

#include <cstdint>
#include <deque>
#include <memory>
#include <mutex>
#include <vector>

namespace korvel::platform {

/// Runs the completions that a session's leader does not run itself, in the background.
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

private:
    using Lock = std::unique_lock<std::mutex>;

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
};

}  // namespace korvel::platform
