#include <korvel/platform/backends/journal/EventStore.h>

#include <system_error>
#include <utility>

namespace korvel::platform {

using sqlite::Statement;

namespace {

constexpr std::chrono::milliseconds patience{250};
constexpr std::chrono::seconds diskRest{1};

// The totals follow by themselves, so that keeping within the bounds does not count all events.
constexpr const char* schema = R"(
    CREATE TABLE IF NOT EXISTS event (
        sequence INTEGER PRIMARY KEY AUTOINCREMENT, id TEXT NOT NULL UNIQUE, name TEXT NOT NULL,
        attributes TEXT NOT NULL, appKey TEXT NOT NULL, sessionId TEXT NOT NULL,
        customerId TEXT NOT NULL, time INTEGER NOT NULL,
        size INTEGER AS (200 + length(CAST(name AS BLOB)) + length(CAST(attributes AS BLOB))));
    CREATE TABLE IF NOT EXISTS total (
        one INTEGER PRIMARY KEY CHECK (one = 1), events INTEGER, bytes INTEGER, dropped INTEGER);
    CREATE TRIGGER IF NOT EXISTS added AFTER INSERT ON event BEGIN
        INSERT INTO total VALUES (1, 1, new.size, 0) ON CONFLICT (one)
            DO UPDATE SET events = events + 1, bytes = bytes + new.size;
    END;
    CREATE TRIGGER IF NOT EXISTS removed AFTER DELETE ON event BEGIN
        UPDATE total SET events = events - 1, bytes = bytes - old.size;
    END;
    SELECT id, name, attributes, appKey, sessionId, customerId, time, size FROM event LIMIT 0;
    SELECT events, bytes, dropped FROM total LIMIT 0;
)";

std::int64_t milliseconds(std::chrono::system_clock::time_point time) {
    return std::chrono::duration_cast<std::chrono::milliseconds>(time.time_since_epoch()).count();
}

std::string quoted(sqlite::Database& database, std::string_view text) {
    Statement quote = database.statement("SELECT json_quote(?)");
    return quote.bind(text).step() == sqlite::Outcome::row ? quote.text(0) : "\"\"";
}

std::string attributesJSON(sqlite::Database& database, const Localytics::Attributes& attributes) {
    std::string json = "{";
    for (const auto& [name, value] : attributes) {
        if (json.size() > 1) json += ',';
        json += quoted(database, name) + ':' + quoted(database, value);
    }
    return json + '}';
}

sqlite::Outcome readEvents(sqlite::Database& database, std::vector<JournalEvent>& events) {
    const std::size_t before = events.size();
    return database.read([&](sqlite::Database& source) {
        events.resize(before);
        Statement select = source.statement(
            "SELECT event.id, name, appKey, sessionId, customerId, time, pair.key, pair.value "
            "FROM event LEFT JOIN json_each(attributes) AS pair ORDER BY sequence, pair.id");
        auto outcome = select.step();
        for (; outcome == sqlite::Outcome::row; outcome = select.step()) {
            if (events.size() == before || events.back().id != select.text(0)) {
                events.push_back({.id = select.text(0),
                                  .name = select.text(1),
                                  .attributes = {},
                                  .appKey = select.text(2),
                                  .sessionId = select.text(3),
                                  .customerId = select.text(4),
                                  .time = {}});
                events.back().time += std::chrono::milliseconds(select.integer(5));
            }
            if (!select.isNull(6)) {
                events.back().attributes.emplace_back(select.text(6), select.text(7));
            }
        }
        return outcome;
    });
}

std::int64_t readDropped(sqlite::Database& database) {
    std::int64_t dropped = 0;
    database.read([&](sqlite::Database& source) {
        Statement select = source.statement("SELECT dropped FROM total");
        const auto outcome = select.step();
        if (outcome == sqlite::Outcome::row) dropped = select.integer(0);
        return outcome;
    });
    return dropped;
}

}  // namespace

EventStore::EventStore(const std::filesystem::path& folder, Bounds bounds,
                       std::shared_ptr<const Clock> clock)
    : folder_(folder),
      bounds_(bounds),
      clock_(std::move(clock)),
      disk_(folder / "journal.sqlite", schema, patience),
      memory_({}, schema, patience) {}

EventStore::~EventStore() {
    diskAgain_ = {};
    if (memoryHolds_) settle();
}

void EventStore::add(const JournalEvent& event) {
    const std::lock_guard lock(mutex_);
    if (settle()) {
        if (addTo(disk_, {event}, 0) == Outcome::done) return;
        diskAgain_ = clock_->now() + diskRest;
    }
    memoryHolds_ = true;
    addTo(memory_, {event}, 0);
}

bool EventStore::settle() {
    if (clock_->now() < diskAgain_) return false;
    if (!memoryHolds_) return true;
    std::vector<JournalEvent> waiting;
    readEvents(memory_, waiting);
    if (addTo(disk_, waiting, readDropped(memory_)) != Outcome::done) {
        diskAgain_ = clock_->now() + diskRest;
        return false;
    }
    memory_.write([](Database& memory) {
        const Outcome outcome = memory.statement("DELETE FROM event").step();
        return outcome == Outcome::done ? memory.statement("DELETE FROM total").step() : outcome;
    });
    memoryHolds_ = false;
    return true;
}

EventStore::Outcome EventStore::addTo(Database& database, const std::vector<JournalEvent>& events,
                                      std::int64_t dropped) const {
    return database.write([&](Database& target) {
        for (const auto& event : events) {
            const Outcome outcome = insert(target, event);
            if (outcome != Outcome::done) return outcome;
        }
        if (dropped > 0) {
            const Outcome outcome =
                target.statement("UPDATE total SET dropped = dropped + ?").bind(dropped).step();
            if (outcome != Outcome::done) return outcome;
        }
        return trim(target);
    });
}

EventStore::Outcome EventStore::insert(Database& database, const JournalEvent& event) const {
    const std::string attributes = attributesJSON(database, event.attributes);
    return database
        .statement(
            "INSERT OR IGNORE INTO event (id, name, attributes, appKey, sessionId, customerId, "
            "time) VALUES (?, ?, ?, ?, ?, ?, ?)")
        .bind(event.id)
        .bind(event.name)
        .bind(attributes)
        .bind(event.appKey)
        .bind(event.sessionId)
        .bind(event.customerId)
        .bind(milliseconds(event.time))
        .step();
}

EventStore::Outcome EventStore::trim(Database& database) const {
    while (true) {
        const Outcome outcome =
            database.statement("SELECT 1 FROM total WHERE events > ? OR bytes > ?")
                .bind(bounds_.events)
                .bind(bounds_.bytes)
                .step();
        if (outcome != Outcome::row) return outcome;
        for (const char* sql :
             {"DELETE FROM event WHERE sequence = (SELECT min(sequence) FROM event)",
              "UPDATE total SET dropped = dropped + 1"}) {
            const Outcome changed = database.statement(sql).step();
            if (changed != Outcome::done) return changed;
        }
    }
}

EventStore::Batch EventStore::oldest(std::int64_t limit) {
    const std::lock_guard lock(mutex_);
    const bool onDisk = settle();
    Batch batch;
    if (onDisk) {
        batch.turn =
            std::make_shared<FileLock>(folder_ / "upload.lock", std::chrono::milliseconds(0));
        std::error_code ignored;
        if (!batch.turn->held()) {
            // Without folder there are no events either.
            batch.othersTurn = std::filesystem::exists(folder_, ignored);
            return batch;
        }
    }
    (onDisk ? disk_ : memory_).read([&](Database& database) {
        Statement select = database.statement(
            "SELECT count(*), json_group_array(id), json_object('events', json_group_array("
            "json_object('id', id, 'name', name, 'attributes', json(attributes), "
            "'appKey', appKey, 'sessionId', sessionId, 'customerId', nullif(customerId, ''), "
            "'time', time)), 'dropped', (SELECT dropped FROM total)) "
            "FROM (SELECT * FROM event ORDER BY sequence LIMIT ?)");
        const Outcome outcome = select.bind(limit).step();
        if (outcome == Outcome::row) {
            batch.count = select.integer(0);
            batch.ids = select.text(1);
            batch.json = select.text(2);
        }
        return outcome;
    });
    return batch;
}

bool EventStore::remove(const Batch& batch) {
    const std::lock_guard lock(mutex_);
    const auto erase = [&](Database& database) {
        return database.statement("DELETE FROM event WHERE id IN (SELECT value FROM json_each(?))")
            .bind(batch.ids)
            .step();
    };
    // A batch from memory may have moved to the disk meanwhile.
    Database& home = batch.turn || !memoryHolds_ ? disk_ : memory_;
    return home.write(erase) == Outcome::done;
}

std::vector<JournalEvent> EventStore::events() {
    const std::lock_guard lock(mutex_);
    std::vector<JournalEvent> all;
    readEvents(disk_, all);
    if (memoryHolds_) readEvents(memory_, all);
    return all;
}

std::int64_t EventStore::dropped() {
    const std::lock_guard lock(mutex_);
    return readDropped(disk_) + (memoryHolds_ ? readDropped(memory_) : 0);
}

}  // namespace korvel::platform
