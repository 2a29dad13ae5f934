// What processes that are killed, race or fork may do to the store: nothing.
#include "platform/security/KeychainStores.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <random>

namespace korvel::tests {
namespace {

using namespace platform;

/// Below `end`; the same sequence in every run.
std::uint32_t anyBelow(std::uint32_t end) {
    static std::mt19937 random(20240102);
    return std::uniform_int_distribution<std::uint32_t>(0, end - 1)(random);
}

/// Until a moment that is not the end of an operation.
void spin(std::uint32_t end) {
    for (std::atomic<std::uint32_t> turn = 0, turns = anyBelow(end); turn < turns;) ++turn;
}

/// What a process says about its saving. `begun` is ahead of `done` while a save is under way;
/// `kept` counts the items of their own account, added once.
struct Progress {
    std::atomic<std::uint32_t> begun, done, kept, failures;
};

std::string valueOf(std::uint32_t number) {
    return std::to_string(number) + ":" +
           std::string(number * 37 % 3000, static_cast<char>('a' + number % 26));
}

void saveUntilKilled(const std::filesystem::path& folder, const std::string& name,
                     Progress& progress) {
    const auto keychain = makeKeychainSQLite(folder);
    for (int saves = 0; saves < 12; ++saves) {
        const std::uint32_t version = ++progress.begun;
        if (save(*keychain, name, valueOf(version)) != errSecSuccess) ++progress.failures;
        progress.done = version;
        const std::uint32_t number = progress.kept + 1;
        const auto status = add(*keychain, name + std::to_string(number), valueOf(number));
        // The item of a killed predecessor may be there without having been acknowledged.
        if (status != errSecSuccess && status != errSecDuplicateItem) ++progress.failures;
        progress.kept = number;
    }
    pause();
}

void expectNothingLost(Keychain& keychain, const std::string& name, const Progress& progress,
                       std::uint32_t checked) {
    const auto found = valueOrStatus(keychain, name);
    const std::uint32_t begun = progress.begun, done = progress.done;
    bool allowed = found == "-25300" && (begun > done || begun == 0);
    // Several saves are under way if the last process was killed in its first one.
    for (auto version = std::max(done, 1U); version <= begun; ++version) {
        allowed = allowed || found == valueOf(version);
    }
    EXPECT_TRUE(allowed) << name << begun << ", done " << done << ": " << found.substr(0, 20);
    for (std::uint32_t number = checked + 1; number <= progress.kept; ++number) {
        const std::string account = name + std::to_string(number);
        EXPECT_EQ(valueOrStatus(keychain, account), valueOf(number)) << account;
        keychain.SecItemDelete({.account = account});
    }
}

TEST(Durability, NoItemIsLostOrTornByAThousandKilledProcesses) {
    constexpr std::size_t rounds = sanitized ? 40 : 500;  // of two processes each
    const TemporaryFolder place;
    const auto folder = place / "store";
    const std::array names{std::string("left "), std::string("right ")};
    const std::array progress{shared<Progress>(), shared<Progress>()};
    for (std::size_t round = 0; round < rounds; ++round) {
        const std::array checked{progress[0]->kept.load(), progress[1]->kept.load()};
        const auto& watched = *progress.at(round % 2);
        const std::uint32_t moment = watched.begun + anyBelow(6);
        ChildProcess left([&] { saveUntilKilled(folder, names[0], *progress[0]); });
        ChildProcess right([&] { saveUntilKilled(folder, names[1], *progress[1]); });
        ASSERT_TRUE(eventually([&] { return watched.begun >= moment; }));
        spin(20'000);
        left.kill();
        spin(5'000);
        right.kill();
        // Opened and closed each time: a process that holds a store open must not fork.
        const auto keychain = makeKeychainSQLite(folder);
        for (const std::size_t each : {0u, 1u}) {
            expectNothingLost(*keychain, names[each], *progress[each], checked[each]);
        }
        ASSERT_FALSE(HasFailure()) << "round " << round;
    }
    EXPECT_EQ(progress[0]->failures + progress[1]->failures, 0u);
    EXPECT_FALSE(std::filesystem::exists(folder / "keychain.corrupt"));
}

TEST(Durability, ProcessesThatStartAtOnceAgreeOnOneStoreAndOneKey) {
    for (int round = 0; round < (sanitized ? 3 : 25); ++round) {
        const TemporaryFolder place;
        const auto folder = place / "not" / "yet" / "there";
        const auto ready = shared<std::atomic<int>>();
        const auto start = [&](const char* name) {
            const auto keychain = makeKeychainSQLite(folder);
            ++*ready;
            eventually([&] { return *ready == 3; });
            if (save(*keychain, name, name) != errSecSuccess) _exit(1);
        };
        ChildProcess a([&] { start("a"); }), b([&] { start("b"); }), c([&] { start("c"); });
        EXPECT_TRUE(a.wait() && b.wait() && c.wait());
        const auto keychain = makeKeychainSQLite(folder);
        for (const auto* name : {"a", "b", "c"}) EXPECT_EQ(valueOrStatus(*keychain, name), name);
    }
}

TEST(Durability, AForkedProcessIsRefusedAndHarmsNothing) {
    const TemporaryFolder place;
    auto keychain = makeKeychainSQLite(place / "store");
    ASSERT_EQ(save(*keychain, "token", "abc"), errSecSuccess);
    ChildProcess child([&] {
        const bool refused = save(*keychain, "token", "child") == errSecNotAvailable;
        keychain.reset();
        if (!refused) _exit(1);
    });
    EXPECT_TRUE(child.wait());
    EXPECT_EQ(save(*keychain, "token", "parent"), errSecSuccess);
    EXPECT_EQ(valueOrStatus(*makeKeychainSQLite(place / "store"), "token"), "parent");
}

}  // namespace
}  // namespace korvel::tests
