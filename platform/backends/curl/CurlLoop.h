#pragma once

#include <korvel/platform/backends/curl/CurlTransfer.h>
#include <korvel/platform/backends/curl/URLSessionCurl.h>

#include <condition_variable>
#include <memory>
#include <mutex>
#include <thread>
#include <unordered_map>
#include <vector>

namespace korvel::platform {

/// Drives a session's transfers on one multi handle, on one background thread at a time: its
/// leader. A request that finds none calls one. When nothing is on its way any more the leader
/// gives the lead back and runs the last completion itself: on most machines waking a second thread
/// for it costs as much processor time as a fifth of the request.
///
/// Ownership: held by its session and by its leader.
class CurlLoop : public std::enable_shared_from_this<CurlLoop> {
public:
    using Transfer = std::shared_ptr<CurlTransfer>;

    CurlLoop(const URLSessionCurlOptions& options, BackgroundExecutor background);
    CurlLoop(const CurlLoop&) = delete;
    CurlLoop& operator=(const CurlLoop&) = delete;

    /// Any thread. After `stop` the transfer is dropped.
    void submit(Transfer transfer);
    /// Any thread. Drops all transfers and returns when the library is done with them, at once on
    /// the leader's own thread.
    void stop();

private:
    using Clock = CurlTransfer::Clock;
    enum class Lead { vacant, called, taken };

    void lead();
    bool takeLead();
    bool takeSubmitted();
    Transfer completeDone();
    bool giveLeadBack();
    void waitForWork();
    void wake();

    void open();
    void close(std::unique_lock<std::mutex>& lock);
    void add(Transfer transfer);
    void work();
    void endStalled();
    Transfer remove(CURL* easy);
    void complete(Transfer transfer);

    const BackgroundExecutor background_;

    // The leader's own.
    CurlSettings settings_;
    std::unordered_map<CURL*, Transfer> inFlight_;
    std::vector<Transfer> taken_;
    std::vector<Transfer> done_;
    Clock::time_point nextWatch_;

    std::mutex mutex_;        // guards what follows
    CURLM* multi_ = nullptr;  // made and destroyed by leaders, who use it unguarded
    Lead lead_ = Lead::vacant;
    std::thread::id leader_;
    std::condition_variable leadIsVacant_;
    std::vector<Transfer> submitted_;
    bool waiting_ = false;  // the leader polls, or is about to
    bool stopped_ = false;
};

}  // namespace korvel::platform
