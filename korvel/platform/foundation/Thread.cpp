#include <korvel/platform/foundation/Thread.h>

#include <pthread.h>
#include <csignal>
#include <string>
#include <system_error>
#include <thread>
#include <utility>

namespace korvel::platform {

namespace {

/// Everything but what a thread raises by its own fault: crash reporters and profilers want those
/// here.
sigset_t signalsOfTheHost() {
    sigset_t signals;
    sigfillset(&signals);
    for (const int own : {SIGSEGV, SIGBUS, SIGFPE, SIGILL, SIGABRT, SIGTRAP, SIGSYS, SIGPROF}) {
        sigdelset(&signals, own);
    }
    return signals;
}

}  // namespace

bool startThread(std::string_view name, std::function<void()> body) {
    const sigset_t blocked = signalsOfTheHost();
    sigset_t before;
    pthread_sigmask(SIG_SETMASK, &blocked, &before);  // inherited, so that there is no gap
    bool started = true;
    try {
        std::thread([label = std::string(name.substr(0, 15)), body = std::move(body)]() mutable {
            pthread_setname_np(pthread_self(), label.c_str());
            perform(std::move(body));
        }).detach();
    } catch (const std::system_error&) {
        started = false;
    }
    pthread_sigmask(SIG_SETMASK, &before, nullptr);
    return started;
}

}  // namespace korvel::platform
