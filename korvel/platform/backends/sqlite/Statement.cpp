#include <korvel/platform/backends/sqlite/Statement.h>

#include <sqlite3.h>

namespace korvel::platform::sqlite {

Outcome outcomeOf(int resultCode) {
    if (resultCode == SQLITE_CONSTRAINT_PRIMARYKEY || resultCode == SQLITE_CONSTRAINT_UNIQUE ||
        resultCode == SQLITE_CONSTRAINT_ROWID) {
        return Outcome::duplicate;
    }
    switch (resultCode & 0xff) {
        case SQLITE_OK:
        case SQLITE_DONE:
            return Outcome::done;
        case SQLITE_ROW:
            return Outcome::row;
        case SQLITE_BUSY:
        case SQLITE_LOCKED:
        case SQLITE_PROTOCOL:
            return Outcome::busy;
        case SQLITE_CORRUPT:
        case SQLITE_NOTADB:
            return Outcome::damaged;
        case SQLITE_CANTOPEN:
        case SQLITE_READONLY:
        case SQLITE_PERM:
        case SQLITE_AUTH:
            return Outcome::unavailable;
        default:
            return Outcome::failed;
    }
}

Statement::Statement(sqlite3_stmt* statement, int resultCode)
    : statement_(statement), resultCode_(resultCode) {}

Statement::~Statement() {
    if (!statement_) return;
    sqlite3_reset(statement_);
    sqlite3_clear_bindings(statement_);
}

Statement& Statement::bind(std::string_view text) {
    if (resultCode_ == SQLITE_OK) {
        // A null pointer would bind NULL, not the empty text.
        const char* begin = text.data() ? text.data() : "";
        resultCode_ = sqlite3_bind_text64(statement_, ++bound_, begin, text.size(), SQLITE_STATIC,
                                          SQLITE_UTF8);
    }
    return *this;
}

Statement& Statement::bind(std::span<const std::uint8_t> bytes) {
    if (resultCode_ == SQLITE_OK) {
        const void* begin = bytes.empty() ? static_cast<const void*>("") : bytes.data();
        resultCode_ = sqlite3_bind_blob64(statement_, ++bound_, begin, bytes.size(), SQLITE_STATIC);
    }
    return *this;
}

Statement& Statement::bind(std::int64_t number) {
    if (resultCode_ == SQLITE_OK) resultCode_ = sqlite3_bind_int64(statement_, ++bound_, number);
    return *this;
}

Outcome Statement::step() {
    return outcomeOf(resultCode_ == SQLITE_OK ? sqlite3_step(statement_) : resultCode_);
}

bool Statement::isNull(int column) const {
    return sqlite3_column_type(statement_, column) == SQLITE_NULL;
}

std::int64_t Statement::integer(int column) const {
    return sqlite3_column_int64(statement_, column);
}

std::string Statement::text(int column) const {
    const auto* begin = reinterpret_cast<const char*>(sqlite3_column_text(statement_, column));
    const auto size = static_cast<std::size_t>(sqlite3_column_bytes(statement_, column));
    return begin ? std::string(begin, size) : std::string();
}

Data Statement::bytes(int column) const {
    const auto* begin = static_cast<const std::uint8_t*>(sqlite3_column_blob(statement_, column));
    const auto size = static_cast<std::size_t>(sqlite3_column_bytes(statement_, column));
    return begin ? Data(begin, begin + size) : Data();
}

}  // namespace korvel::platform::sqlite
