#include <korvel/platform/backends/sqlite/RecordClaims.h>
#include <korvel/platform/backends/sqlite/SealedFile.h>
#include <korvel/platform/backends/sqlite/SealedRecordsSQLite.h>

#include <utility>

namespace korvel::platform {

namespace {

using sqlite::Database;
using sqlite::Outcome;
using sqlite::Statement;

// Numbers are never used again, so that a claim is always one on the same record.
constexpr const char* recordSchema =
    "CREATE TABLE IF NOT EXISTS record (number INTEGER PRIMARY KEY AUTOINCREMENT, sealed BLOB NOT "
    "NULL); SELECT number, sealed FROM record LIMIT 0;";
constexpr std::chrono::milliseconds recordPatience{250};
constexpr const char* sealContext = "outbox";

bool isKept(Outcome outcome) { return outcome == Outcome::done || outcome == Outcome::row; }

class SealedRecordsSQLite final : public SealedRecords {
public:
    explicit SealedRecordsSQLite(const std::filesystem::path& folder)
        : store_(folder, "outbox.sqlite", recordSchema, recordPatience),
          claims_(std::make_shared<RecordClaims>(folder / "outbox.claims")) {}

    std::optional<Added> add(const Data& value, Bounds bounds) override;
    std::vector<Record> all() override;
    Claim claim(Number number) override;
    bool remove(Number number) override;

private:
    Outcome trim(Database& database, Bounds bounds, std::vector<Record>& crowdedOut) const;
    void unseal(std::vector<Record>& records);

    sqlite::SealedFile store_;
    const std::shared_ptr<RecordClaims> claims_;
};

std::optional<SealedRecords::Added> SealedRecordsSQLite::add(const Data& value, Bounds bounds) {
    std::shared_ptr<const SealingKey> key;
    if (store_.keyFile.readOrMake(key) != errSecSuccess) return std::nullopt;
    const Data sealed = key->seal(sealContext, value);
    Added added;
    const Outcome outcome = store_.database.write([&](Database& database) {
        added = {};
        {
            Statement insert =
                database.statement("INSERT INTO record (sealed) VALUES (?) RETURNING number");
            const Outcome inserted = insert.bind(sealed).step();
            if (inserted != Outcome::row) return inserted;
            added.number = insert.integer(0);
        }
        // Before anybody else can see it.
        added.claim = claims_->claim(added.number);
        return added.claim ? trim(database, bounds, added.crowdedOut) : Outcome::failed;
    });
    if (!isKept(outcome)) return std::nullopt;
    unseal(added.crowdedOut);
    return added;
}

/// The newest record stays, however large.
Outcome SealedRecordsSQLite::trim(Database& database, Bounds bounds,
                                  std::vector<Record>& crowdedOut) const {
    Statement oldest = database.statement(
        "DELETE FROM record WHERE number IN (SELECT number FROM (SELECT number, count(*) OVER "
        "newer AS records, sum(length(sealed)) OVER newer AS bytes FROM record WINDOW newer AS "
        "(ORDER BY number DESC)) WHERE records > 1 AND (records > ? OR bytes > ?)) "
        "RETURNING number, sealed");
    oldest.bind(static_cast<std::int64_t>(bounds.records))
        .bind(static_cast<std::int64_t>(bounds.bytes));
    Outcome outcome = oldest.step();
    for (; outcome == Outcome::row; outcome = oldest.step()) {
        crowdedOut.push_back({oldest.integer(0), oldest.bytes(1)});
    }
    return outcome;
}

std::vector<SealedRecords::Record> SealedRecordsSQLite::all() {
    std::vector<Record> records;
    if (store_.isMissing()) return records;
    const Outcome outcome = store_.database.read([&](Database& database) {
        records.clear();
        Statement select = database.statement("SELECT number, sealed FROM record ORDER BY number");
        Outcome found = select.step();
        for (; found == Outcome::row; found = select.step()) {
            records.push_back({select.integer(0), select.bytes(1)});
        }
        return found;
    });
    if (!isKept(outcome)) records.clear();
    unseal(records);
    return records;
}

void SealedRecordsSQLite::unseal(std::vector<Record>& records) {
    if (records.empty()) return;
    std::shared_ptr<const SealingKey> key;
    if (store_.keyFile.read(key) != errSecSuccess) return records.clear();
    std::erase_if(records, [&](Record& record) {
        auto plain = key->open(sealContext, record.value);
        if (plain) record.value = std::move(*plain);
        return !plain;
    });
}

SealedRecords::Claim SealedRecordsSQLite::claim(Number number) {
    auto claim = claims_->claim(number);
    if (!claim) return nullptr;
    // Whoever held it before may have dealt with it.
    const Outcome outcome = store_.database.read([&](Database& database) {
        return database.statement("SELECT 1 FROM record WHERE number = ?").bind(number).step();
    });
    return outcome == Outcome::row ? claim : nullptr;
}

bool SealedRecordsSQLite::remove(Number number) {
    return isKept(store_.database.write([&](Database& database) {
        return database.statement("DELETE FROM record WHERE number = ?").bind(number).step();
    }));
}

}  // namespace

std::shared_ptr<SealedRecords> makeSealedRecordsSQLite(std::filesystem::path folder) {
    return std::make_shared<SealedRecordsSQLite>(folder);
}

}  // namespace korvel::platform
