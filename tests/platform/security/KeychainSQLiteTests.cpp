// What only the device's own store promises: privacy on disk, and going on whatever happens to its
// files.
#include "platform/security/KeychainStores.h"

#include <korvel/platform/backends/sqlite/Database.h>

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>

namespace korvel::tests {
namespace {

using namespace platform;
namespace fs = std::filesystem;

class KeychainSQLite : public KeychainTest<SQLiteStore> {
protected:
    OSStatus save(const std::string& account, std::string_view value) {
        return tests::save(*keychain, account, value);
    }

    const fs::path folder = store.folder / "store";
    const fs::path file = folder / "keychain.sqlite";
};

void replace(const fs::path& path, const std::string& text) {
    std::ofstream(path, std::ios::binary | std::ios::trunc) << text;
}

TEST_F(KeychainSQLite, LookingLeavesNothingBehindAndStoringOnlyPrivateFiles) {
    EXPECT_EQ(keychain->SecItemDelete({}), errSecItemNotFound);
    EXPECT_EQ(copy("token"), "-25300");
    EXPECT_FALSE(fs::exists(folder));
    ASSERT_EQ(save("token", "the-secret-bearer-code"), errSecSuccess);
    EXPECT_EQ(fs::status(folder).permissions(), fs::perms::owner_all);
    EXPECT_GE(std::distance(fs::directory_iterator(folder), {}), 3);
    for (const auto& entry : fs::directory_iterator(folder)) {
        EXPECT_EQ(entry.status().permissions(), fs::perms::owner_read | fs::perms::owner_write);
        std::ifstream stream(entry.path(), std::ios::binary);
        const std::string bytes{std::istreambuf_iterator<char>(stream), {}};
        EXPECT_EQ(bytes.find("bearer"), std::string::npos) << entry.path();
    }
}

TEST_F(KeychainSQLite, ALostKeyCostsTheOldItemsOnly) {
    const auto key = folder / "keychain.key";
    const std::function<void()> losses[] = {[&] { fs::remove(key); }, [&] { replace(key, ""); },
                                            [&] { replace(key, std::string(32, 'k')); }};
    for (const bool reopened : {false, true}) {
        for (const auto& lose : losses) {
            ASSERT_EQ(save("old", "before"), errSecSuccess);
            lose();
            if (reopened) keychain = store.open();
            EXPECT_EQ(copy("old"), std::to_string(errSecDecode));
            for (const auto* account : {"new", "old"}) {
                EXPECT_EQ(save(account, "after"), errSecSuccess);
                EXPECT_EQ(copy(account), "after");
            }
        }
    }
}

TEST_F(KeychainSQLite, AChangedOrMovedValueIsNotHandedOut) {
    save("mine", "1");
    save("yours", "2");
    sqlite::Database database(file, "", std::chrono::seconds(1));
    const char* move =
        "UPDATE item SET value = (SELECT value FROM item WHERE account = X'6D696E65')"
        " WHERE account = X'796F757273'";
    ASSERT_EQ(database.write([&](auto& target) { return target.statement(move).step(); }),
              sqlite::Outcome::done);
    EXPECT_EQ(copy("mine"), "1");
    EXPECT_EQ(copy("yours"), std::to_string(errSecDecode));
}

TEST_F(KeychainSQLite, ADamagedDatabaseIsKeptAsideAndStartedAnew) {
    const std::pair<const char*, std::function<void()>> damages[] = {
        {"no database", [&] { replace(file, std::string(10'000, 'z')); }},
        {"cut off", [&] { fs::resize_file(file, 5'000); }},
        {"broken pages",
         [&] {
             fs::resize_file(file, 4096);
             std::ofstream(file, std::ios::app) << std::string(60'000, '\xee');
         }},
        {"another program's", [&] {
             fs::remove(file);
             sqlite::Database other(file, "CREATE TABLE IF NOT EXISTS item (x)",
                                    std::chrono::seconds(1));
             other.write([](auto& target) { return target.statement("SELECT 1").step(); });
         }}};
    for (const bool whileOpen : {false, true}) {
        for (const auto& [name, damage] : damages) {
            SCOPED_TRACE(std::string(name) + (whileOpen ? ", with another open" : ""));
            for (int item = 0; item < 20; ++item) {
                ASSERT_EQ(save(std::to_string(item), std::string(3'000, 'x')), errSecSuccess);
            }
            const auto bystander = store.open();
            if (whileOpen) valueOrStatus(*bystander, "0");
            keychain.reset();  // writes the log back, so that the damage below meets everything
            damage();
            fs::remove(folder / "keychain.corrupt");
            keychain = store.open();
            EXPECT_EQ(save("token", "abc"), errSecSuccess);
            EXPECT_EQ(copy("token"), "abc");
            EXPECT_EQ(valueOrStatus(*bystander, "token"), "abc");
            // With another process's log still there, damage to the file may not even matter.
            EXPECT_TRUE(whileOpen || fs::exists(folder / "keychain.corrupt"));
        }
    }
}

TEST_F(KeychainSQLite, AnUnusableFolderFailsEachCallAndIsTriedAgain) {
    replace(folder, "a file where the folder should be");
    EXPECT_EQ(save("token", "abc"), errSecNotAvailable);
    EXPECT_EQ(copy("token"), std::to_string(errSecNotAvailable));
    EXPECT_EQ(keychain->SecItemDelete({}), errSecNotAvailable);
    fs::remove(folder);
    EXPECT_EQ(save("token", "abc"), errSecSuccess);
    fs::remove_all(folder);
    EXPECT_EQ(copy("token"), "-25300") << "what was removed is gone";
    EXPECT_EQ(save("token", "def"), errSecSuccess);
}

}  // namespace
}  // namespace korvel::tests
