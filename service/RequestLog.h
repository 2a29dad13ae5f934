#pragma once

#include <service/ReceivedRequest.h>

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <deque>
#include <mutex>
#include <vector>

namespace korvel::service {

/// The requests that came, and how many are being answered. Thread safety: any thread.
class RequestLog {
public:
    explicit RequestLog(std::size_t keptRequests) : kept_(keptRequests) {}

    /// A whole request is in flight from `begin` to `end`.
    void begin(const ReceivedRequest& request);
    void end();
    /// One that broke off: kept, not counted.
    void add(const ReceivedRequest& request);

    std::vector<ReceivedRequest> requests() const;
    void forget();
    struct Counts {
        std::size_t requests = 0;
        std::size_t inFlight = 0;
        std::size_t mostInFlight = 0;
    };
    Counts counts() const;
    bool waitFor(std::size_t requests, std::chrono::milliseconds atMost);

private:
    void keep(const ReceivedRequest& request);

    const std::size_t kept_;
    mutable std::mutex mutex_;
    std::condition_variable arrived_;
    std::deque<ReceivedRequest> requests_;
    Counts counts_;
};

}  // namespace korvel::service
