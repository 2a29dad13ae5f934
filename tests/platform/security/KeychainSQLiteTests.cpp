// What only the device's own store promises: privacy on disk, and going on whatever happens to its
// files.
#include "platform/security/KeychainStores.h"

#include <korvel/platform/Device.h>
#include <korvel/platform/backends/sqlite/Database.h>

#include <gtest/gtest.h>

#include <sys/stat.h>
#include <atomic>
#include <chrono>
#include <filesystem>

namespace korvel::tests {
namespace {

using namespace platform;
namespace fs = std::filesystem;

class KeychainSQLite : public KeychainTest<SQLiteStore> {
protected:
    const fs::path folder = store.folder / "store";
    const fs::path file = folder / "keychain.sqlite";
};

TEST_F(KeychainSQLite, LookingLeavesNothingBehindAndStoringOnlyPrivateFiles) {
    EXPECT_EQ(keychain->SecItemDelete({}), errSecItemNotFound);
    EXPECT_EQ(copy("token"), "-25300");
    EXPECT_FALSE(fs::exists(folder));
    ASSERT_EQ(save(*keychain, "token", "the-secret-bearer-code"), errSecSuccess);
    EXPECT_EQ(fs::status(folder).permissions(), fs::perms::owner_all);
    EXPECT_GE(std::distance(fs::directory_iterator(folder), {}), 3);
    for (const auto& entry : fs::directory_iterator(folder)) {
        EXPECT_EQ(entry.status().permissions(), fs::perms::owner_read | fs::perms::owner_write);
        EXPECT_EQ(readFile(entry.path()).find("bearer"), std::string::npos) << entry.path();
    }
}

TEST_F(KeychainSQLite, ALostKeyCostsTheOldItemsOnly) {
    const auto key = folder / "keychain.key";
    const std::function<void()> losses[] = {[&] { fs::remove(key); }, [&] { writeFile(key, ""); },
                                            [&] { writeFile(key, std::string(32, 'k')); }};
    for (const bool reopened : {false, true}) {
        for (const auto& lose : losses) {
            ASSERT_EQ(save(*keychain, "old", "before"), errSecSuccess);
            lose();
            if (reopened) keychain = store.open();
            EXPECT_EQ(copy("old"), std::to_string(errSecDecode));
            for (const auto* account : {"new", "old"}) {
                EXPECT_EQ(save(*keychain, account, "after"), errSecSuccess);
                EXPECT_EQ(copy(account), "after");
            }
        }
    }
}

TEST_F(KeychainSQLite, AChangedOrMovedValueIsNotHandedOut) {
    save(*keychain, "mine", "1");
    save(*keychain, "yours", "2");
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
        {"no database", [&] { writeFile(file, std::string(10'000, 'z')); }},
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
                ASSERT_EQ(save(*keychain, std::to_string(item), std::string(3'000, 'x')),
                          errSecSuccess);
            }
            const auto bystander = store.open();
            if (whileOpen) valueOrStatus(*bystander, "0");
            keychain.reset();  // writes the log back, so that the damage below meets everything
            damage();
            fs::remove(folder / "keychain.corrupt");
            keychain = store.open();
            EXPECT_EQ(save(*keychain, "token", "abc"), errSecSuccess);
            EXPECT_EQ(copy("token"), "abc");
            EXPECT_EQ(valueOrStatus(*bystander, "token"), "abc");
            // With another process's log still there, damage to the file may not even matter.
            EXPECT_TRUE(whileOpen || fs::exists(folder / "keychain.corrupt"));
        }
    }
}

TEST_F(KeychainSQLite, AnUnusableFolderFailsEachCallAndIsTriedAgain) {
    writeFile(folder, "a file where the folder should be");
    EXPECT_EQ(save(*keychain, "token", "abc"), errSecNotAvailable);
    EXPECT_EQ(copy("token"), std::to_string(errSecNotAvailable));
    EXPECT_EQ(keychain->SecItemDelete({}), errSecNotAvailable);
    fs::remove(folder);
    EXPECT_EQ(save(*keychain, "token", "abc"), errSecSuccess);
    fs::remove_all(folder);
    EXPECT_EQ(copy("token"), "-25300") << "what was removed is gone";
    EXPECT_EQ(save(*keychain, "token", "def"), errSecSuccess);
}

TEST_F(KeychainSQLite, AnotherProcesssLockHoldsALogInUpOnceAndForLessThanASecond) {
    ASSERT_EQ(save(*keychain, "token", "old"), errSecSuccess);
    const auto release = shared<std::atomic<bool>>();
    const auto held = shared<std::atomic<bool>>();
    keychain.reset();  // a process that holds a store open must not fork
    ChildProcess other([&] {
        sqlite::Database database(file, "", std::chrono::seconds(1));
        database.write([&](auto&) {
            *held = true;
            eventually([&] { return release->load(); });
            return sqlite::Outcome::done;
        });
    });
    ASSERT_TRUE(eventually([&] { return held->load(); }));
    keychain = store.open();
    const auto begin = std::chrono::steady_clock::now();
    EXPECT_EQ(keychain->SecItemDelete({}), errSecIO);
    for (const auto* account : {"token", "userId", "userName", "expiryTime"}) {
        EXPECT_EQ(keychain->SecItemDelete({.account = account}), errSecIO);
        EXPECT_EQ(add(account, "new"), errSecIO);
    }
    EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(1));
    *release = true;
    EXPECT_TRUE(other.wait());
    EXPECT_EQ(keychain->SecItemDelete({}), errSecSuccess);
    EXPECT_EQ(save(*keychain, "token", "new"), errSecSuccess);
}

TEST_F(KeychainSQLite, WhatWasPutInAFilesPlaceIsNotFollowedNotWaitedForAndNotTouched) {
    const auto target = store.folder / "target";
    for (const auto* name : {"keychain.key", "keychain.sqlite", "keychain.lock"}) {
        for (const bool fifo : {false, true}) {
            SCOPED_TRACE(std::string(name) + (fifo ? ", a fifo" : ", a link"));
            keychain.reset();
            fs::remove_all(folder);
            fs::create_directory(folder);
            fs::permissions(folder, fs::perms::owner_all);
            writeFile(target, std::string(32, 'k'));
            fs::permissions(target, fs::perms(0644));
            if (fifo) {
                ASSERT_EQ(mkfifo((folder / name).c_str(), 0600), 0);
            } else {
                fs::create_symlink(target, folder / name);
            }
            keychain = store.open();
            // A fifo makes a lock as good as a file does.
            const bool locks = fifo && name == std::string("keychain.lock");
            EXPECT_EQ(add("token", "abc"), locks ? errSecSuccess : errSecNotAvailable);
            EXPECT_EQ(fs::status(target).permissions(), fs::perms(0644));
            EXPECT_EQ(fs::file_size(target), 32u);
        }
    }
}

TEST_F(KeychainSQLite, AFolderThatOthersCanWriteInIsNotUsed) {
    fs::create_directory(folder);
    for (const auto permissions : {fs::perms(0770), fs::perms(0707)}) {
        fs::permissions(folder, permissions);
        EXPECT_EQ(save(*keychain, "token", "abc"), errSecNotAvailable);
        EXPECT_TRUE(fs::is_empty(folder));
    }
    fs::permissions(folder, fs::perms(0755));
    EXPECT_EQ(save(*keychain, "token", "abc"), errSecSuccess);
}

TEST(DataFolder, WithoutAHomeNothingIsWrittenWhereTheProcessStands) {
    if (geteuid() != 0) GTEST_SKIP() << "only root can become a user whom the system does not know";
    const TemporaryFolder place;
    const auto current = place / "current";
    fs::create_directory(current);
    fs::permissions(current, fs::perms::all);
    fs::permissions(current.parent_path(), fs::perms::all);
    for (const char* home : {static_cast<const char*>(nullptr), "", "relative"}) {
        ChildProcess homeless([&] {
            unsetenv("XDG_DATA_HOME");
            home ? setenv("HOME", home, 1) : unsetenv("HOME");
            fs::current_path(current);
            if (setresuid(54321, 54321, 54321) != 0) _exit(1);
            const auto device = Device::standard();
            device.localytics->integrate("key");
            if (tests::save(*device.keychain, "token", "abc") != errSecNotAvailable) _exit(2);
        });
        EXPECT_TRUE(homeless.wait());
        EXPECT_TRUE(fs::is_empty(current));
    }
}

}  // namespace
}  // namespace korvel::tests
