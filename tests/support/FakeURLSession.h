#pragma once

#include <korvel/platform/foundation/URLSession.h>

#include <chrono>
#include <condition_variable>
#include <deque>
#include <mutex>
#include <stdexcept>
#include <utility>
#include <vector>

namespace korvel::tests {

/// A session that answers when told, on the thread that tells it. Requests may come from any
/// thread; look at them when they have come.
class FakeURLSession final : public platform::URLSession {
public:
    std::vector<platform::URLRequest> requests;  ///< everything ever sent, oldest first

    void dataTask(platform::URLRequest request, CompletionHandler completionHandler) override {
        const std::lock_guard lock(mutex_);
        requests.push_back(std::move(request));
        pending_.push_back(std::move(completionHandler));
        changed_.notify_all();
    }

    /// For requests that another thread sends. False if they do not come.
    bool waitForRequests(std::size_t count) {
        std::unique_lock lock(mutex_);
        return changed_.wait_for(lock, std::chrono::seconds(30),
                                 [&] { return requests.size() >= count; });
    }

    std::size_t pending() const { return pending_.size(); }

    /// Ends the oldest exchange that is still open; its handler is destroyed before this returns.
    void end(platform::Exchange exchange) {
        if (pending_.empty()) throw std::logic_error("nobody waits for an answer");
        const auto handler = std::move(pending_.front());
        pending_.pop_front();
        handler(std::move(exchange));
    }
    static platform::Exchange answered(int status, std::optional<std::string_view> body) {
        return {.body = body ? std::optional(platform::bytesOf(*body)) : std::nullopt,
                .response = platform::HTTPURLResponse{*platform::URL::parse("https://h/"), status},
                .error = std::nullopt,
                .metrics = {}};
    }
    void answer(int status, std::optional<std::string_view> body) { end(answered(status, body)); }
    void failTransport() {
        end({.body = std::nullopt,
             .response = std::nullopt,
             .error = NSError{platform::urlErrorDomain, -1004, {}},
             .metrics = {}});
    }

private:
    std::mutex mutex_;
    std::condition_variable changed_;
    std::deque<CompletionHandler> pending_;
};

}  // namespace korvel::tests
