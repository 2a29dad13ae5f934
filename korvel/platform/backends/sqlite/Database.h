#pragma once

#include <korvel/platform/backends/sqlite/Statement.h>

#include <sys/types.h>
#include <atomic>
#include <chrono>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <map>
#include <mutex>
#include <string_view>

struct sqlite3;

namespace korvel::platform::sqlite {

/// A database file that takes care of itself: it is opened at the first access and again after any
/// failure; what is no database is kept beside it as ".corrupt" and started anew; a file that was
/// removed or replaced is let go.
///
/// Durability: what a transaction wrote is there after the process is killed. The machine losing
/// power may take the last transactions, never the database.
///
/// Thread safety: any thread, any number of processes. A process forked after the first access gets
/// `unavailable`, because the library's locks do not survive a fork; it may run a new program.
class Database {
public:
    using Work = std::function<Outcome(Database&)>;

    /// `schema` is run at each opening: it makes what is missing, leaves alone what exists and
    /// fails where that is of another kind. An empty path is a database in memory. Nothing waits
    /// longer than `patience` for other processes, nor at all after a wait in vain until an access
    /// has succeeded: what makes several is held up once.
    Database(std::filesystem::path file, const char* schema, std::chrono::milliseconds patience);
    Database(const Database&) = delete;
    Database& operator=(const Database&) = delete;
    ~Database();

    /// Runs `work` under the lock, without a transaction of its own: for a single reading
    /// statement.
    Outcome read(const Work& work);
    /// Runs `work` in one transaction, which is kept if its outcome is `done` or `row`. `work` runs
    /// again after a repaired database or a lost race, so it must not have other effects.
    Outcome write(const Work& work);

    /// Only within `work`: the statement of that text, prepared once per connection. `sql` must be
    /// a literal.
    Statement statement(const char* sql);
    /// Only within `work`: how many rows the statement that was done last has changed. Cheaper than
    /// `RETURNING`, for which the library makes a database of its own in memory.
    std::int64_t changedRows() const;

private:
    Outcome perform(const Work& work, bool inTransaction);
    Outcome persist(const Work& work, bool inTransaction);
    Outcome attempt(const Work& work, bool inTransaction);
    Outcome open();
    Outcome connect();
    void close();
    static int waitForOthers(void* self, int calls);
    bool startAnew();
    bool isSound();
    Outcome runSchema();
    void keepCopyOfDamaged();
    bool hasMoved() const;
    Outcome execute(const char* sql);

    const std::filesystem::path file_;
    const char* const schema_;
    const std::chrono::milliseconds patience_;
    std::atomic<pid_t> process_ = 0;
    std::mutex mutex_;
    std::chrono::steady_clock::time_point deadline_;  ///< of the access under way
    sqlite3* connection_ = nullptr;
    bool waitedInVain_ = false;
    std::map<const char*, sqlite3_stmt*> statements_;
};

}  // namespace korvel::platform::sqlite
