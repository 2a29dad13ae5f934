#pragma once

#include "DataFolder.h"
#include "Interruption.h"
#include "Options.h"
#include "Progress.h"
#include "RequestObserver.h"

#include <korvel/KorvelContentSDK.h>
#include <korvel/platform/foundation/RunLoop.h>

#include <atomic>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace cli {

/// Starts the SDK and runs its operations one by one, each to its end: a value, or a `Failure` that
/// says why there is none. Where the SDK stays silent, it ends with the request's loss or with its
/// own time-out. Main thread only, and one in the process.
class Host {
public:
    template <class Record> using Start = std::function<void(korvel::Completion<Record>)>;
    template <class Record> using StartList = std::function<void(korvel::ListCompletion<Record>)>;
    using StartPlain = std::function<void(korvel::ErrorCompletion)>;

    Host(const Options& options, std::shared_ptr<Messages> messages, Interruption& interruption);

    /// Log-in of the options' user unless another is given. Secrets do not outlive a process, so
    /// every process that needs a user logs in. Returns the user's name.
    std::string logIn(std::string user = {});

    /// Null: the service knows no such thing.
    template <class Record> std::shared_ptr<Record> fetch(const Start<Record>& start) {
        return await<std::shared_ptr<Record>>(start);
    }
    template <class Record>
    std::vector<std::shared_ptr<Record>> fetchList(const StartList<Record>& start) {
        return await<std::optional<std::vector<std::shared_ptr<Record>>>>(start).value();
    }
    void perform(const StartPlain& start);

    /// For a command that goes on by itself: no more progress of single requests.
    void showNoProgress() { progress_.reset(); }
    /// Drives the main queue until `done` or the limit; true if done. `done` is asked after each
    /// round of the queue, and when a request has ended or an interruption has come.
    bool runUntil(const std::function<bool()>& done,
                  std::optional<korvel::platform::Clock::Duration> limit = std::nullopt) {
        return loop_->runUntil(done, limit);
    }
    const std::shared_ptr<korvel::platform::MainQueue>& queue() const { return queue_; }
    const std::shared_ptr<Messages>& messages() const { return messages_; }
    RequestObserver& observer() { return *observer_; }
    bool wasInterrupted() const { return interruption_.came(); }
    /// How long to wait for whatever comes from the service.
    korvel::platform::Clock::Duration patience() const { return limit_; }

private:
    /// Written by a completion on a background thread, then read by the main thread: `came` is the
    /// hand-over.
    struct Arrival {
        std::optional<korvel::NSError> error;
        std::atomic<bool> came = false;
    };
    template <class Value> struct ValueArrival : Arrival { Value value; };

    template <class Value, class StartOperation> Value await(const StartOperation& start) {
        const auto arrival = std::make_shared<ValueArrival<Value>>();
        const auto report = settle(*arrival, [&] {
            start([arrival, wake = wake_](auto value, auto error) {
                arrival->value = std::move(value);
                arrival->error = std::move(error);
                arrival->came = true;
                wake();
            });
        });
        requireAccepted(report);
        return std::move(arrival->value);
    }

    void takeDataFolder();
    RequestReport settle(const Arrival& arrival, const std::function<void()>& start);
    RequestReport settlePlain(const StartPlain& start);
    static void requireAccepted(const RequestReport& report);

    const Options options_;
    const korvel::platform::Clock::Duration limit_;
    Interruption& interruption_;
    std::shared_ptr<Messages> messages_;
    std::shared_ptr<RequestObserver> observer_;
    DataFolder folder_;
    std::shared_ptr<korvel::platform::MainQueue> queue_;
    std::function<void()> wake_;
    std::optional<korvel::platform::RunLoop> loop_;
    std::optional<Progress> progress_;
};

}  // namespace cli
