#pragma once

#include <korvel/doubles/FakeKeychain.h>
#include "support/ChildProcess.h"
#include "support/TemporaryFolder.h"

#include <korvel/platform/backends/libsecret/KeychainLibsecret.h>
#include <korvel/platform/backends/sqlite/KeychainSQLite.h>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <array>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace korvel::tests {

using namespace doubles;

/// A place that items are kept in. `open` gives a keychain on it, several at once if asked;
/// `missing` says why this machine cannot have the place, or nothing.
struct FakeStore {
    std::string missing() const { return {}; }
    std::shared_ptr<platform::Keychain> open() const { return keychain; }
    std::shared_ptr<FakeKeychain> keychain = std::make_shared<FakeKeychain>();
};

struct SQLiteStore {
    std::string missing() const { return {}; }
    std::shared_ptr<platform::Keychain> open() const {
        return platform::makeKeychainSQLite(folder / "store");
    }
    TemporaryFolder folder;
};

/// A session bus of its own with the desktop's real keyring daemon, which die with the object or
/// with this process. It points this process's environment at them.
class SecretServiceStore {
    static constexpr const char* busProgram = "/usr/bin/dbus-daemon";
    static constexpr const char* keyringProgram = "/usr/bin/gnome-keyring-daemon";
    TemporaryFolder folder_;
    std::string missing_;

public:
    std::unique_ptr<ChildProcess> bus, keyring;

    SecretServiceStore() {
        for (const auto* program : {busProgram, keyringProgram}) {
            if (!std::filesystem::exists(program)) missing_ += std::string(program) + " is missing";
        }
        if (!missing_.empty()) return;
        const auto home = folder_ / "home";
        std::filesystem::create_directories(home);
        std::filesystem::permissions(home, std::filesystem::perms::owner_all);
        for (const char* name : {"HOME", "XDG_DATA_HOME", "XDG_RUNTIME_DIR"}) {
            setenv(name, home.c_str(), 1);
        }
        std::array<int, 2> answer{};
        std::array<int, 2> password{};
        if (pipe2(answer.data(), O_CLOEXEC) || pipe2(password.data(), O_CLOEXEC)) std::abort();
        const auto start = [&](const std::vector<std::string>& command) {
            return std::make_unique<ChildProcess>([&] {
                dup2(password[0], STDIN_FILENO);
                dup2(answer[1], STDOUT_FILENO);
                dup2(::open("/dev/null", O_WRONLY), STDERR_FILENO);
                become(command);
            });
        };
        bus = start({busProgram, "--session", "--nofork", "--nosyslog", "--print-address=1"});
        std::string address(512, '\0');
        address.resize(static_cast<std::size_t>(
            std::max<ssize_t>(0, read(answer[0], address.data(), address.size()))));
        setenv("DBUS_SESSION_BUS_ADDRESS", address.substr(0, address.find('\n')).c_str(), 1);
        if (write(password[1], "secret", 6) != 6) std::abort();
        close(password[1]);
        keyring = start({keyringProgram, "--foreground", "--unlock", "--components=secrets"});
        for (const int end : {answer[0], answer[1], password[0]}) close(end);
    }

    std::string missing() const { return missing_; }
    std::shared_ptr<platform::Keychain> open(std::string application = "storage-tests") const {
        std::shared_ptr<platform::Keychain> keychain;
        eventually([&] {  // the daemon is still starting
            keychain = platform::makeKeychainLibsecret(application);
            return keychain != nullptr;
        });
        return keychain;
    }
};

inline platform::OSStatus add(platform::Keychain& keychain, const std::string& account,
                              std::string_view value) {
    return keychain.SecItemAdd({.account = account, .valueData = platform::bytesOf(value)});
}

/// Replaces the account's item.
inline platform::OSStatus save(platform::Keychain& keychain, const std::string& account,
                               std::string_view value) {
    const auto deleted = keychain.SecItemDelete({.account = account});
    if (deleted != platform::errSecSuccess && deleted != platform::errSecItemNotFound)
        return deleted;
    return add(keychain, account, value);
}

/// The account's value as text, or the status as a number if the call failed.
inline std::string valueOrStatus(platform::Keychain& keychain, std::optional<std::string> account) {
    std::optional<platform::Data> result;
    const auto status = keychain.SecItemCopyMatching(
        {.account = std::move(account), .returnData = true, .matchLimitOne = true}, result);
    if (status != platform::errSecSuccess) return std::to_string(status);
    return result ? std::string(platform::viewOf(*result)) : "success without data";
}

/// A keychain on a store of its own, which this machine may be without.
template <class Store> class KeychainTest : public ::testing::Test {
protected:
    void SetUp() override {
        if (const auto reason = store.missing(); !reason.empty()) GTEST_SKIP() << reason;
        keychain = store.open();
        ASSERT_TRUE(keychain);
    }
    platform::OSStatus add(const std::string& account, std::string_view value) {
        return tests::add(*keychain, account, value);
    }
    std::string copy(std::optional<std::string> account) {
        return valueOrStatus(*keychain, std::move(account));
    }

    Store store;
    std::shared_ptr<platform::Keychain> keychain;
};

}  // namespace korvel::tests
