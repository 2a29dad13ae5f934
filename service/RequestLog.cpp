#include <service/RequestLog.h>

#include <algorithm>

namespace korvel::service {

void RequestLog::begin(const ReceivedRequest& request) {
    const std::lock_guard lock(mutex_);
    keep(request);
    ++counts_.requests;
    ++counts_.inFlight;
    counts_.mostInFlight = std::max(counts_.mostInFlight, counts_.inFlight);
    arrived_.notify_all();
}

void RequestLog::end() {
    const std::lock_guard lock(mutex_);
    --counts_.inFlight;
}

void RequestLog::add(const ReceivedRequest& request) {
    const std::lock_guard lock(mutex_);
    keep(request);
}

void RequestLog::keep(const ReceivedRequest& request) {
    if (kept_ == 0) return;
    if (requests_.size() == kept_) requests_.pop_front();
    requests_.push_back(request);
}

std::vector<ReceivedRequest> RequestLog::requests() const {
    const std::lock_guard lock(mutex_);
    return {requests_.begin(), requests_.end()};
}

void RequestLog::forget() {
    const std::lock_guard lock(mutex_);
    requests_.clear();
}

RequestLog::Counts RequestLog::counts() const {
    const std::lock_guard lock(mutex_);
    return counts_;
}

bool RequestLog::waitFor(std::size_t requests, std::chrono::milliseconds atMost) {
    std::unique_lock lock(mutex_);
    return arrived_.wait_for(lock, atMost, [&] { return counts_.requests >= requests; });
}

}  // namespace korvel::service
