#pragma once

#include "Failure.h"
#include "Interruption.h"
#include "Options.h"
#include "Progress.h"

#include <korvel/KorvelContentSDK.h>

#include <functional>
#include <memory>
#include <optional>
#include <stop_token>
#include <string>
#include <utility>

namespace cli {

/// Starts the SDK, and waits for what a command asks of it. Main thread only, and one in the
/// process.
class Host {
public:
    Host(const Options& options, std::shared_ptr<Messages> messages, Interruption& interruption);

    const korvel::ContentClient& client() const { return *client_; }
    /// Waits for the operation. Throws the `Failure` that it ends with; `missing` words the one
    /// where the service has no such thing.
    template <class T> T value(korvel::Pending<T> operation, const std::string& missing = {}) {
        auto outcome = std::move(operation).stoppedBy(interruption_.token()).get();
        if (!outcome) fail(outcome.failure(), missing);
        return std::move(*outcome);
    }
    /// Log-in of the options' user unless another is given; it ends with the process, so every
    /// process that needs a user logs in. Returns the user's name.
    std::string logIn(std::string user = {});

    /// For a command that goes on by itself: no more progress of single requests.
    void showNoProgress() { progress_.reset(); }
    /// Drives the main queue until `done` or the limit. `done` is asked after each round of the
    /// queue, and when an interruption has come.
    void runUntil(const std::function<bool()>& done,
                  std::optional<korvel::platform::Clock::Duration> limit = std::nullopt) {
        queue_->runUntil(done, limit);
    }
    const std::shared_ptr<korvel::platform::MainQueue>& queue() const { return queue_; }
    const std::shared_ptr<Messages>& messages() const { return messages_; }
    const Options& options() const { return options_; }
    bool wasInterrupted() const { return interruption_.came(); }
    /// How long to wait for whatever comes from the service.
    korvel::platform::Clock::Duration patience() const { return limit_; }

private:
    [[noreturn]] void fail(const korvel::Failure& failure, const std::string& missing) const;

    const Options options_;
    const korvel::platform::Clock::Duration limit_;
    Interruption& interruption_;
    std::shared_ptr<Messages> messages_;
    std::shared_ptr<korvel::platform::MainQueue> queue_;
    std::stop_callback<std::function<void()>> wake_;
    std::optional<korvel::ContentClient> client_;
    std::optional<Progress> progress_;
};

}  // namespace cli
