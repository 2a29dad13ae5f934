#include "Interruption.h"

#include <unistd.h>
#include <csignal>
#include <thread>

namespace cli {

Interruption::Interruption() {
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, SIGINT);
    sigaddset(&signals, SIGTERM);
    pthread_sigmask(SIG_BLOCK, &signals, nullptr);
    std::thread([source = source_, signals]() mutable {
        int signal = 0;
        sigwait(&signals, &signal);
        source.request_stop();
        pthread_sigmask(SIG_UNBLOCK, &signals, nullptr);
        for (;;) pause();  // somebody must be there for the second signal to end
    }).detach();
}

}  // namespace cli
