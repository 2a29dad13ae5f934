#pragma once

#include <korvel/platform/backends/journal/JournalEvent.h>
#include <korvel/platform/backends/sqlite/Database.h>
#include <korvel/platform/foundation/Clock.h>
#include <korvel/platform/security/PrivateFiles.h>

#include <cstdint>
#include <filesystem>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

namespace korvel::platform {

/// Keeps events on disk in the order in which they came; while the disk cannot be written, in
/// memory, from where they move to the disk as soon as it can. Beyond its bounds the oldest are
/// dropped and counted. Nothing here waits longer than a quarter of a second. Any thread, any
/// number of processes.
class EventStore {
public:
    struct Bounds {
        std::int64_t events;
        std::int64_t bytes;
    };
    /// The oldest events, ready to send. While a batch from the disk exists no other process gets
    /// one.
    struct Batch {
        std::int64_t count = 0;
        std::string json;                ///< {"events":[...],"dropped":n}
        std::string ids;                 ///< JSON list
        std::shared_ptr<FileLock> turn;  ///< empty: the batch comes from memory
        bool othersTurn = false;         ///< another process is sending: no batch now
    };

    EventStore(const std::filesystem::path& folder, Bounds bounds,
               std::shared_ptr<const Clock> clock);
    ~EventStore();

    void add(const JournalEvent& event);
    Batch oldest(std::int64_t limit);
    /// False if the events could not be removed and will come again.
    bool remove(const Batch& batch);
    std::vector<JournalEvent> events();
    /// Events dropped since the store was made.
    std::int64_t dropped();

private:
    using Database = sqlite::Database;
    using Outcome = sqlite::Outcome;

    Outcome addTo(Database& database, const std::vector<JournalEvent>& events,
                  std::int64_t dropped) const;
    Outcome insert(Database& database, const JournalEvent& event) const;
    Outcome trim(Database& database) const;
    /// Moves what waits in memory; false if the disk cannot be used now.
    bool settle();

    const std::filesystem::path folder_;
    const Bounds bounds_;
    const std::shared_ptr<const Clock> clock_;
    std::mutex mutex_;
    Database disk_;
    Database memory_;
    bool memoryHolds_ = false;
    Clock::Instant diskAgain_{};  ///< after a failure: not before
};

}  // namespace korvel::platform
