#include <korvel/platform/backends/sqlite/Database.h>
#include <korvel/platform/security/PrivateFiles.h>

#include <sqlite3.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <fstream>
#include <system_error>
#include <thread>
#include <utility>

namespace korvel::platform::sqlite {

namespace {
std::filesystem::path beside(std::filesystem::path file, const char* extension) {
    return file.replace_extension(extension);
}

bool isKept(Outcome outcome) { return outcome == Outcome::done || outcome == Outcome::row; }
}  // namespace

Database::Database(std::filesystem::path file, const char* schema,
                   std::chrono::milliseconds patience)
    : file_(std::move(file)), schema_(schema), patience_(patience) {}

Database::~Database() {
    // In a forked child the connection still belongs to the parent: closing it here would tidy up
    // files that the parent is using.
    if (process_ == getpid()) close();
}

Outcome Database::read(const Work& work) { return perform(work, false); }

Outcome Database::write(const Work& work) { return perform(work, true); }

Outcome Database::perform(const Work& work, bool inTransaction) {
    const pid_t self = getpid();
    pid_t nobody = 0;
    // Before the lock, which another thread may have held at the moment of the fork.
    if (!process_.compare_exchange_strong(nobody, self) && nobody != self) {
        return Outcome::unavailable;
    }
    const std::lock_guard lock(mutex_);
    deadline_ = std::chrono::steady_clock::now();
    if (!waitedInVain_) deadline_ += patience_;
    const Outcome outcome = persist(work, inTransaction);
    waitedInVain_ = outcome == Outcome::busy;
    return outcome;
}

Outcome Database::persist(const Work& work, bool inTransaction) {
    bool repaired = false;
    while (true) {
        const Outcome outcome = attempt(work, inTransaction);
        switch (outcome) {
            case Outcome::done:
            case Outcome::row:
            case Outcome::duplicate:
                return outcome;
            case Outcome::busy:
                // The library waits by itself, except where two processes convert or close the file
                // at once.
                if (std::chrono::steady_clock::now() >= deadline_) return outcome;
                std::this_thread::sleep_for(std::chrono::milliseconds(1));
                break;
            case Outcome::damaged:
                if (repaired || !startAnew()) return Outcome::failed;
                repaired = true;
                break;
            case Outcome::unavailable:
            case Outcome::failed:
                close();
                return outcome;
        }
    }
}

Outcome Database::attempt(const Work& work, bool inTransaction) {
    if (const Outcome opened = open(); opened != Outcome::done) return opened;
    if (!inTransaction) return work(*this);
    if (const Outcome begun = statement("BEGIN IMMEDIATE").step(); begun != Outcome::done) {
        return begun;
    }
    Outcome outcome = work(*this);
    if (isKept(outcome)) {
        const Outcome committed = statement("COMMIT").step();
        if (committed == Outcome::done) return outcome;
        outcome = committed;
    }
    if (!sqlite3_get_autocommit(connection_)) statement("ROLLBACK").step();
    return outcome;
}

Statement Database::statement(const char* sql) {
    sqlite3_stmt*& prepared = statements_[sql];
    int resultCode = SQLITE_OK;
    if (!prepared) {
        resultCode =
            sqlite3_prepare_v3(connection_, sql, -1, SQLITE_PREPARE_PERSISTENT, &prepared, nullptr);
    }
    return Statement(prepared, resultCode);
}

std::int64_t Database::changedRows() const { return sqlite3_changes64(connection_); }

Outcome Database::open() {
    if (connection_ && hasMoved()) close();
    if (connection_) return Outcome::done;
    if (!file_.empty() && (!makePrivateFolder(file_.parent_path()) || !makePrivateFile(file_))) {
        return Outcome::unavailable;
    }
    Outcome outcome = connect();
    // Nothing is lost if the power fails before the file was ever used, so making it waits for no
    // disk.
    if (outcome == Outcome::done) outcome = execute("PRAGMA synchronous=OFF");
    // A new file's: what is kept is small, and a start touches each byte of a page for the first
    // time.
    if (outcome == Outcome::done) outcome = execute("PRAGMA page_size=1024");
    if (outcome == Outcome::done) outcome = execute("PRAGMA journal_mode=WAL");
    if (outcome == Outcome::done) outcome = runSchema();
    if (outcome == Outcome::done) outcome = execute("PRAGMA synchronous=NORMAL");
    // Hosts often end without closing, and the next start reads what the log holds by then.
    if (outcome == Outcome::done) outcome = execute("PRAGMA wal_autocheckpoint=16");
    if (outcome != Outcome::done) close();
    return outcome;
}

Outcome Database::connect() {
    const char* name = file_.empty() ? ":memory:" : file_.c_str();
    const int resultCode =
        sqlite3_open_v2(name, &connection_, SQLITE_OPEN_READWRITE | SQLITE_OPEN_NOMUTEX, nullptr);
    if (resultCode == SQLITE_OK) {
        sqlite3_extended_result_codes(connection_, 1);
        sqlite3_busy_handler(connection_, &Database::waitForOthers, this);
    }
    return outcomeOf(resultCode);
}

int Database::waitForOthers(void* self, int calls) {
    // The library's own waiting sleeps for up to 100 ms, which starves whoever meets a busy writer.
    constexpr std::chrono::microseconds first{50};
    auto& database = *static_cast<Database*>(self);
    if (std::chrono::steady_clock::now() >= database.deadline_) return 0;
    std::this_thread::sleep_for(first * (1 << std::min(calls, 5)));
    return 1;
}

void Database::close() {
    for (const auto& [sql, statement] : statements_) sqlite3_finalize(statement);
    statements_.clear();
    if (!connection_) return;
    // The log file is found by name, and under that name there may be another database's by now.
    if (hasMoved()) {
        sqlite3_db_config(connection_, SQLITE_DBCONFIG_NO_CKPT_ON_CLOSE, 1, nullptr);
    }
    sqlite3_close_v2(connection_);
    connection_ = nullptr;
}

bool Database::startAnew() {
    close();
    if (file_.empty()) return true;
    const FileLock lock(beside(file_, ".lock"), patience_);
    if (!lock.held()) return false;
    if (connect() != Outcome::done) {
        close();
        return false;
    }
    bool sound = isSound();  // another process may have been quicker
    if (!sound) {
        keepCopyOfDamaged();
        // The library's own way, in place: renaming would pull the files apart under other
        // processes.
        sqlite3_db_config(connection_, SQLITE_DBCONFIG_RESET_DATABASE, 1, nullptr);
        sound = execute("VACUUM") == Outcome::done;
        sqlite3_db_config(connection_, SQLITE_DBCONFIG_RESET_DATABASE, 0, nullptr);
    }
    close();
    return sound;
}

bool Database::isSound() {
    if (runSchema() != Outcome::done) return false;
    Statement check = statement("PRAGMA quick_check(1)");
    return check.step() == Outcome::row && check.text(0) == "ok";
}

void Database::keepCopyOfDamaged() {
    // Read through the library's own descriptor: closing another would drop this process's locks.
    sqlite3_file* source = nullptr;
    sqlite3_int64 size = 0;
    sqlite3_file_control(connection_, "main", SQLITE_FCNTL_FILE_POINTER, &source);
    if (!source || !source->pMethods || source->pMethods->xFileSize(source, &size)) return;
    const auto copy = beside(file_, ".corrupt");
    std::error_code ignored;
    std::filesystem::remove(copy, ignored);
    if (!makePrivateFile(copy)) return;
    std::ofstream target(copy, std::ios::binary);
    std::array<char, 65536> buffer{};
    for (sqlite3_int64 at = 0; at < size; at += static_cast<sqlite3_int64>(buffer.size())) {
        const int part = static_cast<int>(std::min<sqlite3_int64>(std::ssize(buffer), size - at));
        if (source->pMethods->xRead(source, buffer.data(), part, at)) return;
        target.write(buffer.data(), part);
    }
}

Outcome Database::runSchema() {
    const int resultCode = sqlite3_exec(connection_, schema_, nullptr, nullptr, nullptr);
    // The text itself is right, so it met a file of another schema.
    return (resultCode & 0xff) == SQLITE_ERROR ? Outcome::damaged : outcomeOf(resultCode);
}

bool Database::hasMoved() const {
    int moved = 0;
    if (file_.empty() || !connection_) return false;
    sqlite3_file_control(connection_, "main", SQLITE_FCNTL_HAS_MOVED, &moved);
    return moved != 0;
}

Outcome Database::execute(const char* sql) {
    return outcomeOf(sqlite3_exec(connection_, sql, nullptr, nullptr, nullptr));
}

}  // namespace korvel::platform::sqlite
