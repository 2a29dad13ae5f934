#pragma once

#include <korvel/platform/foundation/Data.h>

#include <cstdint>
#include <span>
#include <string>
#include <string_view>

struct sqlite3_stmt;

namespace korvel::platform::sqlite {

/// How a statement or a transaction ended.
enum class Outcome {
    done,         ///< ran to its end
    row,          ///< stands on a row
    duplicate,    ///< would have broken a uniqueness constraint
    busy,         ///< others held the database for the whole time-out
    damaged,      ///< the file is not, or no longer, a database of this schema
    unavailable,  ///< the file cannot be opened or made
    failed,       ///< anything else: disk full, read error, out of memory
};

/// The outcome that a result code of the library stands for.
Outcome outcomeOf(int resultCode);

/// One run of a prepared statement. Borrows it from the connection and gives it back, reset and
/// unbound, in the destructor. A failure to prepare or bind shows at the next `step`.
class Statement {
public:
    Statement(sqlite3_stmt* statement, int resultCode);
    Statement(const Statement&) = delete;
    Statement& operator=(const Statement&) = delete;
    ~Statement();

    /// Each binds the next parameter. Texts and bytes are borrowed until the statement is
    /// destroyed.
    Statement& bind(std::string_view text);
    Statement& bind(std::span<const std::uint8_t> bytes);
    Statement& bind(std::int64_t number);

    Outcome step();

    /// Columns of the current row, from 0.
    bool isNull(int column) const;
    std::int64_t integer(int column) const;
    std::string text(int column) const;
    Data bytes(int column) const;

private:
    sqlite3_stmt* statement_;
    int resultCode_;
    int bound_ = 0;
};

}  // namespace korvel::platform::sqlite
