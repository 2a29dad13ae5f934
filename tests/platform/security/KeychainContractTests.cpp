// What the SDK and its hosts rely on in any keychain. The same rules run on the fake, which is what
// makes the fake worth trusting, and on each real store.
#include "platform/security/KeychainStores.h"

#include <gtest/gtest.h>

#include <array>
#include <atomic>
#include <thread>

namespace korvel::tests {
namespace {

using namespace platform;

template <class Store> using KeychainContract = KeychainTest<Store>;
using Stores = ::testing::Types<FakeStore, SQLiteStore, SecretServiceStore>;
TYPED_TEST_SUITE(KeychainContract, Stores);

TYPED_TEST(KeychainContract, ItemsComeBackByteForByte) {
    std::string everyByte;
    for (int byte = 0; byte < 256; ++byte) everyByte += static_cast<char>(byte);
    const std::pair<std::string, std::string> rows[] = {
        {"", ""},
        {"bytes", everyByte},
        {"large", std::string(50'000, 'x')},
        {"Gerät-日本-\xff", "account that is not UTF-8"},
        {std::string("a\0b", 3), "account with a zero"}};
    for (const auto& [account, value] : rows) EXPECT_EQ(this->add(account, value), errSecSuccess);
    for (const auto& [account, value] : rows) EXPECT_EQ(this->copy(account), value);
    EXPECT_EQ(this->keychain->SecItemAdd({.account = "absent value"}), errSecSuccess);
    EXPECT_EQ(this->copy("absent value"), "");
}

TYPED_TEST(KeychainContract, AnAccountHasOneItem) {
    EXPECT_EQ(this->add("token", "first"), errSecSuccess);
    EXPECT_EQ(this->add("token", "second"), errSecDuplicateItem);
    EXPECT_EQ(this->add("Token", "other case, other account"), errSecSuccess);
    EXPECT_EQ(this->copy("token"), "first");
    EXPECT_EQ(this->keychain->SecItemAdd({.valueData = bytesOf("nobody's")}), errSecParam);
}

TYPED_TEST(KeychainContract, DeletionMatchesTheAccountAndNotTheValue) {
    EXPECT_EQ(this->keychain->SecItemDelete({.account = "token"}), errSecItemNotFound);
    this->add("token", "old");
    this->add("userId", "42");
    EXPECT_EQ(this->keychain->SecItemDelete({.account = "token", .valueData = bytesOf("new")}),
              errSecSuccess);
    EXPECT_EQ(this->copy("token"), "-25300");
    EXPECT_EQ(this->copy("userId"), "42");
    EXPECT_EQ(this->add("token", "new"), errSecSuccess);
    EXPECT_EQ(this->keychain->SecItemDelete({}), errSecSuccess) << "without account: everything";
    EXPECT_EQ(this->copy("token") + this->copy("userId"), "-25300-25300");
    EXPECT_EQ(this->keychain->SecItemDelete({}), errSecItemNotFound);
}

TYPED_TEST(KeychainContract, ResultIsOnlyWhatWasAskedFor) {
    std::optional<Data> result = bytesOf("left over");
    EXPECT_EQ(this->keychain->SecItemCopyMatching({.account = "token", .returnData = true}, result),
              errSecItemNotFound);
    EXPECT_FALSE(result);
    this->add("token", "abc");
    result = bytesOf("left over");
    EXPECT_EQ(this->keychain->SecItemCopyMatching({.account = "token"}, result), errSecSuccess);
    EXPECT_FALSE(result);
    EXPECT_EQ(this->copy(std::nullopt), "abc") << "without account any item will do";
}

TYPED_TEST(KeychainContract, OfManyAddingAtOnceOneSucceeds) {
    const std::array stores{this->store.open(), this->store.open()};
    for (int round = 0; round < 15; ++round) {
        std::atomic<int> added = 0, duplicates = 0;
        const auto work = [&](std::size_t worker) {
            const auto status = stores[worker % 2]->SecItemAdd({.account = std::to_string(round)});
            added += status == errSecSuccess;
            duplicates += status == errSecDuplicateItem;
        };
        { const std::jthread a(work, 0), b(work, 1), c(work, 2), d(work, 3); }
        EXPECT_EQ(added, 1);
        EXPECT_EQ(duplicates, 3);
    }
}

}  // namespace
}  // namespace korvel::tests
