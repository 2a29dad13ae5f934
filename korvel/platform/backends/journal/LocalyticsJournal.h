#pragma once

#include <korvel/platform/backends/journal/EventStore.h>
#include <korvel/platform/backends/journal/JournalEvent.h>
#include <korvel/platform/foundation/Clock.h>
#include <korvel/platform/foundation/DispatchQueue.h>
#include <korvel/platform/foundation/SharedObject.h>
#include <korvel/platform/foundation/URLSession.h>
#include <korvel/platform/localytics/Localytics.h>

#include <atomic>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

namespace korvel::platform {

struct LocalyticsJournalOptions {
    std::filesystem::path folder{};
    /// Where batches are posted; empty, or no address: events are kept for inspection.
    std::string collectorURL{};
    /// Beyond these the oldest events are dropped, sent or not.
    std::int64_t maximumEvents = 10'000;
    std::int64_t maximumBytes = 8 << 20;
    std::int64_t eventsPerBatch = 100;
};

/// The device's own analytics library: an event is on disk when `tagEvent` returns and stays there,
/// whatever becomes of the process, until a collector has taken it.
///
/// A batch goes out as JSON, one at a time for all processes, and its events are removed after a
/// 2xx answer. After any other ending it is sent again, later each time (1 s to 5 min, with
/// jitter). A repeated event keeps its "id". What cannot be written to disk is kept in memory
/// within the same bounds.
///
/// The body of a batch; "time" is in milliseconds since 1970, "customerId" null before log-in:
///
///     {"events": [{"id": "", "name": "", "attributes": {"": ""}, "appKey": "", "sessionId": "",
///                  "customerId": "", "time": 0}], "dropped": 0}
///
/// Thread safety: any thread, any number of processes.
class LocalyticsJournal : public Localytics, public SharedObject<LocalyticsJournal> {
public:
    /// `queue` runs nothing but the delayed retries.
    LocalyticsJournal(LocalyticsJournalOptions options, std::shared_ptr<URLSession> session,
                      std::shared_ptr<DispatchQueue> queue, std::shared_ptr<Clock> clock);

    void integrate(std::string_view appKey) override;
    /// Enabled, each event and each batch is written to standard error.
    void setLoggingEnabled(bool enabled) override;
    void openSession() override;
    void setCustomerId(std::string_view customerId) override;
    void tagEvent(std::string_view eventName, const Attributes& attributes) override;
    void upload() override;

    /// What is kept at this moment, oldest first.
    std::vector<JournalEvent> events() { return store_.events(); }
    /// How many events were dropped to stay within the bounds, ever.
    std::int64_t dropped() { return store_.dropped(); }

private:
    void sendNextBatch();
    void send(EventStore::Batch batch);
    void answered(const Exchange& exchange, EventStore::Batch batch);
    void retryLater();
    void log(const std::string& line) const;

    const std::optional<URL> collector_;
    const std::int64_t eventsPerBatch_;
    const std::shared_ptr<URLSession> session_;
    const std::shared_ptr<DispatchQueue> queue_;
    const std::shared_ptr<Clock> clock_;
    EventStore store_;
    std::atomic<bool> logging_ = false;

    std::mutex mutex_;
    std::string appKey_;
    std::string sessionId_;
    std::string customerId_;
    bool uploading_ = false;
    bool waiting_ = false;     ///< for the next retry
    bool askedAgain_ = false;  ///< while uploading
    int failures_ = 0;         ///< in a row
};

}  // namespace korvel::platform
