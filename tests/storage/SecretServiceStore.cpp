#include "storage/SecretServiceStore.h"

#include <fcntl.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>
#include <array>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <initializer_list>
#include <string_view>
#include <thread>
#include <vector>

/// GLib is not compiled for ThreadSanitizer, which therefore does not see how its threads agree.
extern "C" __attribute__((visibility("default"))) const char* __tsan_default_suppressions() {
    return "called_from_lib:libglib-2.0.so\n"
           "called_from_lib:libgobject-2.0.so\n"
           "called_from_lib:libgio-2.0.so\n"
           "called_from_lib:libsecret-1.so\n";
}

namespace korvel::tests {

namespace {

constexpr const char* busProgram = "/usr/bin/dbus-daemon";
constexpr const char* keyringProgram = "/usr/bin/gnome-keyring-daemon";

pid_t start(std::initializer_list<const char*> command, int input, int output) {
    std::vector<char*> arguments;
    for (const char* word : command) arguments.push_back(const_cast<char*>(word));
    arguments.push_back(nullptr);
    const pid_t child = fork();
    if (child != 0) return child;
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    dup2(input, STDIN_FILENO);
    dup2(output, STDOUT_FILENO);
    dup2(open("/dev/null", O_WRONLY), STDERR_FILENO);
    execv(arguments.front(), arguments.data());
    _exit(127);
}

void stop(pid_t& child) {
    if (child <= 0) return;
    kill(child, SIGKILL);
    waitpid(child, nullptr, 0);
    child = 0;
}

}  // namespace

SecretServiceStore::SecretServiceStore() {
    for (const char* program : {busProgram, keyringProgram}) {
        if (!std::filesystem::exists(program))
            missing_ = std::string(program) + " is not installed";
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
    if (pipe2(answer.data(), O_CLOEXEC) != 0 || pipe2(password.data(), O_CLOEXEC) != 0)
        std::abort();
    bus_ = start({busProgram, "--session", "--nofork", "--nosyslog", "--print-address=1"},
                 password[0], answer[1]);
    std::array<char, 512> line{};
    const auto size = read(answer[0], line.data(), line.size());
    const std::string_view address(line.data(), size > 0 ? static_cast<std::size_t>(size) : 0);
    setenv("DBUS_SESSION_BUS_ADDRESS", std::string(address.substr(0, address.find('\n'))).c_str(),
           1);
    if (write(password[1], "secret", 6) != 6) std::abort();
    close(password[1]);
    keyring_ = start({keyringProgram, "--foreground", "--unlock", "--components=secrets"},
                     password[0], answer[1]);
    for (const int end : {answer[0], answer[1], password[0]}) close(end);
}

SecretServiceStore::~SecretServiceStore() {
    stopKeyring();
    stopBus();
}

std::shared_ptr<platform::Keychain> SecretServiceStore::open(std::string application) const {
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(20);
    while (std::chrono::steady_clock::now() < deadline) {
        if (auto keychain = platform::makeKeychainLibsecret(application)) return keychain;
        std::this_thread::yield();  // the daemon is still starting
    }
    return nullptr;
}

void SecretServiceStore::stopKeyring() { stop(keyring_); }

void SecretServiceStore::stopBus() { stop(bus_); }

}  // namespace korvel::tests
