#pragma once

#include <korvel/platform/foundation/URLSession.h>

#include <chrono>
#include <condition_variable>
#include <deque>
#include <mutex>
#include <stdexcept>
#include <utility>
#include <vector>

namespace korvel::doubles {

/// A session that answers when told, on the thread that tells it. Requests may come from any
/// thread; look at them when they have come.
class FakeURLSession final : public platform::URLSession {
public:
    std::vector<platform::URLRequest> requests;  ///< everything ever sent, oldest first

    std::vector<std::string> connected;  ///< hints
    void connect(const platform::URL& url) override {
        const std::lock_guard lock(mutex_);
        connected.push_back(url.absoluteString());
    }

    std::shared_ptr<platform::URLSessionTask> dataTask(
        platform::URLRequest request, CompletionHandler completionHandler) override {
        const std::lock_guard lock(mutex_);
        requests.push_back(std::move(request));
        const auto exchange = std::make_shared<CompletionHandler>(std::move(completionHandler));
        pending_.push_back(exchange);
        changed_.notify_all();
        return std::make_shared<Task>(*this, exchange);
    }

    /// For requests that another thread sends. False if they do not come.
    bool waitForRequests(std::size_t count) {
        std::unique_lock lock(mutex_);
        return changed_.wait_for(lock, std::chrono::seconds(30),
                                 [&] { return requests.size() >= count; });
    }

    /// Until an exchange is open. False if none comes.
    bool waitForPending() {
        std::unique_lock lock(mutex_);
        return changed_.wait_for(lock, std::chrono::seconds(30), [&] { return !pending_.empty(); });
    }
    std::size_t pending() const {
        const std::lock_guard lock(mutex_);
        return pending_.size();
    }

    /// Ends the oldest exchange that is still open; its handler is destroyed before this returns.
    void end(platform::Exchange exchange) {
        std::unique_lock lock(mutex_);
        if (pending_.empty()) throw std::logic_error("nobody waits for an answer");
        const auto handler = std::move(pending_.front());
        pending_.pop_front();
        lock.unlock();
        (*handler)(std::move(exchange));
    }
    static platform::Exchange answered(int status, std::optional<std::string_view> body) {
        return {.body = body ? std::optional(platform::bytesOf(*body)) : std::nullopt,
                .response = platform::HTTPURLResponse{*platform::URL::parse("https://h/"), status},
                .error = std::nullopt,
                .metrics = {}};
    }
    void answer(int status, std::optional<std::string_view> body) { end(answered(status, body)); }
    /// Answered, by more bytes than are taken.
    void refuseLength(int status) {
        auto exchange = answered(status, std::nullopt);
        exchange.error =
            NSError{platform::urlErrorDomain,
                    static_cast<std::int64_t>(platform::URLErrorCode::dataLengthExceedsMaximum),
                    {}};
        end(std::move(exchange));
    }
    void failTransport() {
        end({.body = std::nullopt,
             .response = std::nullopt,
             .error = NSError{platform::urlErrorDomain, -1004, {}},
             .metrics = {}});
    }

    /// How many exchanges were ended by their asker.
    std::size_t cancelled = 0;

private:
    /// Cancels as long as the session lives.
    struct Task final : platform::URLSessionTask {
        Task(FakeURLSession& from, const std::shared_ptr<CompletionHandler>& which)
            : session(from), exchange(which) {}
        void cancel() override {
            if (const auto open = exchange.lock()) session.drop(open);
        }
        FakeURLSession& session;
        const std::weak_ptr<CompletionHandler> exchange;
    };
    void drop(const std::shared_ptr<CompletionHandler>& exchange) {
        const std::lock_guard lock(mutex_);
        cancelled += std::erase(pending_, exchange);
    }

    mutable std::mutex mutex_;
    std::condition_variable changed_;
    std::deque<std::shared_ptr<CompletionHandler>> pending_;
};

}  // namespace korvel::doubles
