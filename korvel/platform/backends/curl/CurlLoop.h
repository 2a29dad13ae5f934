#pragma once

#include <korvel/platform/backends/curl/CurlCompletions.h>
#include <korvel/platform/backends/curl/CurlEvents.h>
#include <korvel/platform/backends/curl/CurlTransfer.h>
#include <korvel/platform/backends/curl/CurlTurns.h>
#include <korvel/platform/backends/curl/URLSessionCurl.h>

#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <memory>
#include <mutex>
#include <thread>
#include <unordered_map>
#include <vector>

namespace korvel::platform {

/// Drives a session's transfers on one multi handle, on one background thread at a time: its
/// leader. A request that finds none calls one.
///
/// Waking a thread costs about as much processor time as libcurl takes for a small request, so the
/// common chain, each completion starting the next request, runs without: when nothing is on its
/// way any more the leader gives the lead back and runs the last completion itself. A request made
/// there goes out at once, and the thread keeps the lead for when the completion returns. If that
/// takes longer than a moment, because the completion blocks or computes, another leader is called.
///
/// While others are under way it lends the lead to the completions of a round, as long as these are
/// quick, and runs them itself; what they ask for goes out behind the last of them. Here, too, one
/// that takes longer than a moment loses the lead.
///
/// Ownership: held by its session and by its leader.
class CurlLoop final : public CurlUser, public std::enable_shared_from_this<CurlLoop> {
public:
    using Transfer = std::shared_ptr<CurlTransfer>;

    CurlLoop(const URLSessionCurlOptions& options, BackgroundExecutor background);

    /// Any thread. After `stop` the transfer is dropped.
    void submit(Transfer transfer);
    /// Any thread. Ends the exchange of a transfer that was cancelled; it is completed as all are.
    void cancel(Transfer transfer);
    /// Any thread. Drops all transfers and returns when the library is done with them, at once on
    /// the leader's own thread.
    void stop() override;

private:
    using Clock = CurlTransfer::Clock;
    using Lock = std::unique_lock<std::mutex>;
    enum class Lead {
        vacant,
        called,  // the background will run `lead`
        taken,
        kept,  // by the thread that runs the last completion, until that returns
        lent   // by the leader to the completions that it runs itself, until these return
    };

    void lead();
    bool takeLead();
    bool takeSubmitted();
    bool giveLeadBack();
    void lendLead();
    bool takeKeptLead();
    void waitForWork();
    void wake();

    void callLeader(Lock& lock);
    void startHere(Lock& lock);
    void watchKeptLead();
    void watchIdleConnections();

    void open();
    void closeIdle();
    void close(Lock& lock);
    void work();
    void startNext();
    void drop(const Transfer& transfer);
    void add(Transfer transfer);
    void finishDone();
    void endStalled();
    Transfer remove(CURL* easy);

    const BackgroundExecutor background_;
    const std::shared_ptr<CurlCompletions> completions_;
    const std::chrono::milliseconds idleConnections_;
    const OwnProcess process_;
    std::atomic<bool> stopping_ = false;  // asked within a round

    // The leader's own.
    CurlSettings settings_;
    CurlHandles handles_;
    std::unordered_map<CURL*, Transfer> inFlight_;
    CurlTurns turns_;
    std::vector<Transfer> taken_;
    std::vector<Transfer> dropped_;
    std::vector<Transfer> done_;
    Clock::time_point nextWatch_;

    std::mutex mutex_;        // guards what follows
    CURLM* multi_ = nullptr;  // made and destroyed by leaders, who use both unguarded
    std::unique_ptr<CurlEvents> events_;
    Lead lead_ = Lead::vacant;
    std::thread::id leader_;
    std::thread::id lastCompleting_;  // runs the completion after which the lead became vacant
    std::uint64_t timesKept_ = 0;
    std::uint64_t timesKeptSeen_ = 0;  // by the watch
    bool watched_ = false;
    std::uint64_t timesGivenBack_ = 0;
    bool idleWatched_ = false;
    bool closesIdle_ = false;  // the next leader does
    std::condition_variable leadIsFree_;
    std::vector<Transfer> submitted_;
    std::vector<Transfer> cancelled_;
    bool waiting_ = false;  // the leader polls, or is about to
    bool stopped_ = false;
};

}  // namespace korvel::platform
