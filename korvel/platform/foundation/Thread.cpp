#include <korvel/platform/foundation/Thread.h>

#include <pthread.h>
#include <sys/resource.h>
#include <unistd.h>
#include <atomic>
#include <csignal>
#include <deque>
#include <memory>
#include <mutex>
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

struct Planned {
    std::string name;
    std::function<void()> body;
};

/// What waits for a thread, oldest first.
class Waiting {
public:
    void add(std::shared_ptr<Planned> planned) {
        const std::lock_guard lock(mutex_);
        planned_.push_back(std::move(planned));
        ++count_;
    }
    std::shared_ptr<Planned> take() {
        if (count_ == 0) return nullptr;
        const std::lock_guard lock(mutex_);
        if (planned_.empty()) return nullptr;
        auto first = std::move(planned_.front());
        planned_.pop_front();
        --count_;
        return first;
    }
    void putBack(std::shared_ptr<Planned> planned) {
        const std::lock_guard lock(mutex_);
        planned_.push_front(std::move(planned));
        ++count_;
    }

private:
    std::mutex mutex_;
    std::deque<std::shared_ptr<Planned>> planned_;
    std::atomic<std::size_t> count_ = 0;
};

Waiting& waiting() {
    static auto& instance = *new Waiting;  // never destroyed: threads may outlive the statics
    return instance;
}

void carryOut(Planned& planned) {
    pthread_setname_np(pthread_self(), planned.name.c_str());
    perform(std::move(planned.body));
}

int niceness() { return getpriority(PRIO_PROCESS, static_cast<id_t>(gettid())); }

void work(std::shared_ptr<Planned> planned) {
    const int before = niceness();
    carryOut(*planned);
    // A thread that has stood back cannot come forward again, and is no one's to take over.
    while (niceness() == before && (planned = waiting().take())) carryOut(*planned);
}

bool start(const std::shared_ptr<Planned>& planned) {
    const sigset_t blocked = signalsOfTheHost();
    sigset_t before;
    pthread_sigmask(SIG_SETMASK, &blocked, &before);  // inherited, so that there is no gap
    bool started = true;
    try {
        std::thread(work, planned).detach();
    } catch (const std::system_error&) {
        started = false;
    }
    pthread_sigmask(SIG_SETMASK, &before, nullptr);
    return started;
}

std::shared_ptr<Planned> plan(std::string_view name, std::function<void()> body) {
    return std::make_shared<Planned>(Planned{std::string(name.substr(0, 15)), std::move(body)});
}

}  // namespace

bool startThread(std::string_view name, std::function<void()> body) {
    return start(plan(name, std::move(body)));
}

void startThreadOrWait(std::string_view name, std::function<void()> body) {
    waiting().add(plan(name, std::move(body)));
    startWaitingThreads();
}

void startWaitingThreads() {
    while (auto planned = waiting().take()) {
        if (start(planned)) continue;
        return waiting().putBack(std::move(planned));
    }
}

}  // namespace korvel::platform
