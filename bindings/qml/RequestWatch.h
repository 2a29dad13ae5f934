#pragma once

#include <bindings/qml/ServiceRequest.h>
#include <korvel/platform/Diagnostics.h>
#include <korvel/platform/foundation/MainQueue.h>

#include <atomic>
#include <map>
#include <memory>
#include <mutex>
#include <set>

namespace korvel::qml {

/// Learns what completions do not tell, because silence is part of their contract, and hands it to
/// the element that asked: a transport that failed, an answer that was not understood. Any thread.
class RequestWatch final : public platform::Diagnostics {
public:
    explicit RequestWatch(std::shared_ptr<platform::MainQueue> queue);

    /// While it lives, requests that start on this thread belong to `ticket`.
    class Asking {
    public:
        explicit Asking(std::shared_ptr<Ticket> ticket);
        ~Asking();
        Asking(const Asking&) = delete;
        Asking& operator=(const Asking&) = delete;

    private:
        std::shared_ptr<Ticket> before_;
    };
    /// The log-in's request starts half a second after it was asked for, out of nowhere.
    void expectLogin();

    /// A player has closed, and the record of its performance will go out.
    void expectRecord() { ++expectedRecords_; }
    /// Whether the requests of all these have ended, well or not.
    bool allRecordsAreOut() const { return endedRecords_ >= expectedRecords_; }

    void requestStarted(RequestId id, const platform::URLRequest& request) override;
    void requestEnded(RequestId id, const platform::Exchange& exchange) override;
    void decodingFailed(RequestId id, const std::string& record, const std::string& path,
                        const std::string& reason) override;

private:
    std::shared_ptr<Ticket> ticketOf(RequestId id);

    const std::shared_ptr<platform::MainQueue> queue_;
    std::mutex mutex_;
    std::map<RequestId, std::weak_ptr<Ticket>> tickets_;
    std::weak_ptr<Ticket> login_;
    std::set<RequestId> records_;
    std::atomic<int> expectedRecords_ = 0;
    std::atomic<int> endedRecords_ = 0;
};

}  // namespace korvel::qml
