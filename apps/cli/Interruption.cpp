#include "Interruption.h"

#include <unistd.h>
#include <csignal>
#include <thread>

namespace cli {

namespace {
sigset_t endings() {
    sigset_t set;
    sigemptyset(&set);
    sigaddset(&set, SIGINT);
    sigaddset(&set, SIGTERM);
    return set;
}
}  // namespace

Interruption::Interruption() : came_(std::make_shared<std::atomic<bool>>(false)) {
    const auto signals = endings();
    pthread_sigmask(SIG_BLOCK, &signals, nullptr);
}

void Interruption::watch(std::function<void()> wake) {
    std::thread([came = came_, wake = std::move(wake)] {
        const auto signals = endings();
        int signal = 0;
        sigwait(&signals, &signal);
        *came = true;
        wake();
        pthread_sigmask(SIG_UNBLOCK, &signals, nullptr);
        for (;;) pause();  // somebody must be there for the second signal to end
    }).detach();
}

}  // namespace cli
