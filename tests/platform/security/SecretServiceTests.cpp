// What only the desktop's store promises: never in the way where there is no desktop, or no more.
#include "platform/security/KeychainStores.h"

#include <gtest/gtest.h>

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>
#include <chrono>
#include <cstdlib>
#include <cstring>

namespace korvel::tests {
namespace {

using namespace platform;
using namespace std::chrono_literals;

TEST(SecretService, WithoutABusThatAnswersThereIsNoStoreAndThatIsSoonKnown) {
    const TemporaryFolder folder;
    const auto timeToLearn = [&] {
        const auto start = std::chrono::steady_clock::now();
        EXPECT_FALSE(makeKeychainLibsecret("storage-tests"));
        return std::chrono::steady_clock::now() - start;
    };
    unsetenv("DBUS_SESSION_BUS_ADDRESS");
    setenv("XDG_RUNTIME_DIR", (folder / "").c_str(), 1);
    EXPECT_LT(timeToLearn(), 100ms);
    const std::string path = folder / "bus";
    setenv("DBUS_SESSION_BUS_ADDRESS", ("unix:path=" + path).c_str(), 1);
    EXPECT_LT(timeToLearn(), 2s);

    sockaddr_un address{.sun_family = AF_UNIX, .sun_path = {}};
    std::strncpy(address.sun_path, path.c_str(), sizeof address.sun_path - 1);
    const int listener = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    ASSERT_EQ(bind(listener, reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
    ASSERT_EQ(listen(listener, 8), 0);
    EXPECT_LT(timeToLearn(), 5s) << "it never answers";
    close(listener);
}

using SecretServiceOnBus = KeychainTest<SecretServiceStore>;

TEST_F(SecretServiceOnBus, ItemsOfAnotherApplicationAreOutOfReach) {
    const auto other = store.open("another application");
    EXPECT_EQ(add("token", "abc"), errSecSuccess);
    EXPECT_EQ(valueOrStatus(*other, "token"), "-25300");
    EXPECT_EQ(valueOrStatus(*other, std::nullopt), "-25300");
    EXPECT_EQ(tests::add(*other, "token", "def"), errSecSuccess);
    EXPECT_EQ(other->SecItemDelete({}), errSecSuccess);
    EXPECT_EQ(copy("token"), "abc");
}

TEST_F(SecretServiceOnBus, AServiceOrBusThatGoesAwayFailsTheCallAndNotTheHost) {
    ASSERT_EQ(add("token", "abc"), errSecSuccess);
    store.keyring.reset();
    EXPECT_EQ(copy("token"), std::to_string(errSecNotAvailable));
    EXPECT_FALSE(makeKeychainLibsecret("storage-tests"));
    store.bus.reset();
    EXPECT_EQ(copy("token"), std::to_string(errSecNotAvailable));
    EXPECT_EQ(keychain->SecItemDelete({}), errSecNotAvailable);
}

}  // namespace
}  // namespace korvel::tests
