#pragma once

#include <korvel/platform/Diagnostics.h>

#include <condition_variable>
#include <mutex>
#include <string>
#include <vector>

namespace korvel::tests {

/// Counts exchanges and keeps what was undecodable. Any thread.
class FakeDiagnostics final : public platform::Diagnostics {
public:
    void requestStarted(RequestId, const platform::URLRequest&) override { change(started_, 1); }
    void requestEnded(RequestId, const platform::Exchange& exchange) override {
        const std::lock_guard lock(mutex_);
        ++ended_;
        lastError_ = exchange.error;
    }
    void decodingFailed(RequestId, const std::string& record, const std::string& path,
                        const std::string&) override {
        const std::lock_guard lock(mutex_);
        undecodable_.push_back(record + " " + path);
    }

    std::size_t started() const { return get(started_); }
    std::size_t ended() const { return get(ended_); }
    std::vector<std::string> undecodable() const { return get(undecodable_); }
    std::optional<NSError> lastError() const { return get(lastError_); }

private:
    void change(std::size_t& count, std::size_t by) {
        const std::lock_guard lock(mutex_);
        count += by;
    }
    template <class T> T get(const T& value) const {
        const std::lock_guard lock(mutex_);
        return value;
    }

    mutable std::mutex mutex_;
    std::size_t started_ = 0;
    std::size_t ended_ = 0;
    std::vector<std::string> undecodable_;
    std::optional<NSError> lastError_;
};

}  // namespace korvel::tests
