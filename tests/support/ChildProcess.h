#pragma once

#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>
#include <chrono>
#include <csignal>
#include <functional>
#include <memory>
#include <new>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace korvel::tests {

/// Runs `work` in a forked process, which dies with this object or with this process.
class ChildProcess {
public:
    explicit ChildProcess(const std::function<void()>& work) : id_(fork()) {
        if (id_ != 0) return;
        prctl(PR_SET_PDEATHSIG, SIGKILL);
        work();
        _exit(0);
    }
    ChildProcess(const ChildProcess&) = delete;
    ChildProcess& operator=(const ChildProcess&) = delete;
    ~ChildProcess() { kill(); }

    void signal(int number) const {
        if (id_ > 0) ::kill(id_, number);
    }
    void kill() {
        signal(SIGKILL);
        wait();
    }
    /// Waits for its end: its exit code, or 128 and the number of the signal that ended it.
    int code() {
        int status = -1;
        if (id_ > 0) waitpid(std::exchange(id_, 0), &status, 0);
        return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    }
    /// Whether it ended by itself and in order.
    bool wait() { return code() == 0; }

private:
    pid_t id_;
};

/// Goes on as that program.
inline void become(std::vector<std::string> words) {
    std::vector<char*> arguments;
    for (auto& word : words) arguments.push_back(word.data());
    arguments.push_back(nullptr);
    execv(arguments[0], arguments.data());
    _exit(1);
}

/// False if `condition` does not come true within a time that only a stuck process needs.
template <class Condition> bool eventually(Condition condition) {
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(60);
    while (!condition()) {
        if (std::chrono::steady_clock::now() > deadline) return false;
        std::this_thread::yield();
    }
    return true;
}

/// An object that forked processes share.
template <class T> std::unique_ptr<T, void (*)(T*)> shared() {
    void* memory =
        mmap(nullptr, sizeof(T), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    return {new (memory) T(), [](T* object) { munmap(object, sizeof(T)); }};
}

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
inline constexpr bool sanitized = true;  ///< processes start many times slower
#else
inline constexpr bool sanitized = false;
#endif

}  // namespace korvel::tests
