#include <korvel/platform/backends/sqlite/KeychainSQLite.h>
#include <korvel/platform/backends/sqlite/SealedFile.h>

#include <utility>

namespace korvel::platform {

namespace {

using sqlite::Database;
using sqlite::Outcome;
using sqlite::Statement;

constexpr const char* itemSchema =
    "CREATE TABLE IF NOT EXISTS item (account BLOB PRIMARY KEY, value BLOB NOT NULL) WITHOUT ROWID;"
    "SELECT account, value FROM item LIMIT 0;";
/// For other processes. A log-in makes nine calls; only the first of them waits in vain.
constexpr std::chrono::milliseconds itemPatience{450};

OSStatus failureStatus(Outcome outcome) {
    return outcome == Outcome::unavailable ? errSecNotAvailable : errSecIO;
}

/// Accounts are bytes: any text is one, also with zeros inside.
std::span<const std::uint8_t> bytesIn(std::string_view text) {
    return {reinterpret_cast<const std::uint8_t*>(text.data()), text.size()};
}

class KeychainSQLite final : public Keychain {
public:
    explicit KeychainSQLite(const std::filesystem::path& folder)
        : store_(folder, "keychain.sqlite", itemSchema, itemPatience) {}

    OSStatus SecItemAdd(const SecItemQuery& query) override;
    OSStatus SecItemCopyMatching(const SecItemQuery& query, std::optional<Data>& result) override;
    OSStatus SecItemDelete(const SecItemQuery& query) override;

private:
    OSStatus unseal(std::string_view account, const Data& sealed, std::optional<Data>& result);

    sqlite::SealedFile store_;
};

OSStatus KeychainSQLite::SecItemAdd(const SecItemQuery& query) {
    if (!query.account) return errSecParam;
    std::shared_ptr<const SealingKey> key;
    if (const OSStatus status = store_.keyFile.readOrMake(key); status != errSecSuccess)
        return status;
    const Data sealed = key->seal(*query.account, query.valueData.value_or(Data()));
    const Outcome outcome = store_.database.write([&](Database& database) {
        return database.statement("INSERT INTO item (account, value) VALUES (?, ?)")
            .bind(bytesIn(*query.account))
            .bind(sealed)
            .step();
    });
    if (outcome == Outcome::done) return errSecSuccess;
    return outcome == Outcome::duplicate ? errSecDuplicateItem : failureStatus(outcome);
}

OSStatus KeychainSQLite::SecItemCopyMatching(const SecItemQuery& query,
                                             std::optional<Data>& result) {
    result.reset();
    if (store_.isMissing()) return errSecItemNotFound;
    std::string account;
    Data sealed;
    const Outcome outcome = store_.database.read([&](Database& database) {
        Statement select = database.statement(
            query.account ? "SELECT account, value FROM item WHERE account = ?"
                          : "SELECT account, value FROM item ORDER BY account LIMIT 1");
        if (query.account) select.bind(bytesIn(*query.account));
        const Outcome found = select.step();
        if (found == Outcome::row) {
            account = select.text(0);
            sealed = select.bytes(1);
        }
        return found;
    });
    if (outcome == Outcome::done) return errSecItemNotFound;
    if (outcome != Outcome::row) return failureStatus(outcome);
    return query.returnData ? unseal(account, sealed, result) : errSecSuccess;
}

OSStatus KeychainSQLite::unseal(std::string_view account, const Data& sealed,
                                std::optional<Data>& result) {
    std::shared_ptr<const SealingKey> key;
    const OSStatus status = store_.keyFile.read(key);
    if (status != errSecSuccess) return status == errSecItemNotFound ? errSecDecode : status;
    result = key->open(account, sealed);
    return result ? errSecSuccess : errSecDecode;
}

OSStatus KeychainSQLite::SecItemDelete(const SecItemQuery& query) {
    if (store_.isMissing()) return errSecItemNotFound;
    bool found = false;
    const Outcome outcome = store_.database.write([&](Database& database) {
        Statement erase = database.statement(query.account ? "DELETE FROM item WHERE account = ?"
                                                           : "DELETE FROM item");
        if (query.account) erase.bind(bytesIn(*query.account));
        const Outcome erased = erase.step();
        found = erased == Outcome::done && database.changedRows() > 0;
        return erased;
    });
    if (outcome != Outcome::done) return failureStatus(outcome);
    return found ? errSecSuccess : errSecItemNotFound;
}

}  // namespace

std::shared_ptr<Keychain> makeKeychainSQLite(std::filesystem::path folder) {
    return std::make_shared<KeychainSQLite>(folder);
}

}  // namespace korvel::platform
