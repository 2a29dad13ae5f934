#pragma once

#include <korvel/client/Deadlines.h>
#include <korvel/network/Conduct.h>
#include <korvel/platform/foundation/MainQueue.h>

#include <atomic>
#include <vector>

namespace korvel {

/// What a client's operations have in common.
struct ClientSurroundings {
    std::shared_ptr<Deadlines> deadlines;
    std::shared_ptr<platform::MainQueue> mainQueue;
    int readRetries = 0;
};

/// Accompanies one operation: ends its transfer when nobody waits any more, and repeats reads
/// whose failures pass, later each time. Any thread.
class OperationConduct final : public Conduct {
public:
    explicit OperationConduct(std::shared_ptr<const ClientSurroundings> surroundings);

    bool isOver() const override;
    void began(std::shared_ptr<platform::URLSessionTask> task) override;
    bool triesAgain(const Failure& failure, std::function<void()> again) override;

    const ClientSurroundings& surroundings() const { return *surroundings_; }
    void endWithin(platform::Clock::Duration limit, const std::shared_ptr<PendingCore>& operation);
    void keep() { kept_ = true; }
    bool isKept() const { return kept_; }
    /// Nobody waits any more. Ends what is still under way.
    void finish();

private:
    const std::shared_ptr<const ClientSurroundings> surroundings_;
    mutable std::mutex mutex_;
    std::atomic<bool> kept_ = false;
    bool over_ = false;
    int retries_ = 0;
    std::vector<Deadlines::Token> deadlines_;
    std::shared_ptr<platform::URLSessionTask> task_;
};

}  // namespace korvel
