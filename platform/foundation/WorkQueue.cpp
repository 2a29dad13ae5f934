#include <korvel/platform/foundation/Delay.h>
#include <korvel/platform/foundation/FatalError.h>
#include <korvel/platform/foundation/Thread.h>
#include <korvel/platform/foundation/WorkQueue.h>

#include <pthread.h>
#include <algorithm>
#include <condition_variable>
#include <ctime>
#include <deque>
#include <list>
#include <mutex>
#include <utility>
#include <vector>

namespace korvel::platform {

using namespace std::chrono_literals;

namespace {

constexpr Clock::Duration watchInterval =
    5ms;  // longer than a time slice: waiting for a core is not blocking
constexpr int patience =
    20;  // watches without a new start, after which busy threads count as blocked

struct Worker {
    std::condition_variable wake;
    bool woken = false;
    bool running = false;       // its thread has begun, so `clock` is set
    clockid_t clock = {};       // processor time of its thread
    Clock::Duration used = {};  // at the last watch

    /// Whether it used a tenth of `elapsed` or more since the last watch.
    bool wasBusy(Clock::Duration elapsed) {
        timespec time = {};
        if (!running || clock_gettime(clock, &time) != 0) return true;
        const Clock::Duration now =
            std::chrono::seconds(time.tv_sec) + std::chrono::nanoseconds(time.tv_nsec);
        return now - std::exchange(used, now) >= elapsed / 10;
    }
};

}  // namespace

struct WorkQueue::State : std::enable_shared_from_this<State> {
    explicit State(Options chosen) : options(std::move(chosen)) {}

    void add(Task task);
    void abandon();

private:
    using Lock = std::unique_lock<std::mutex>;

    bool startWorker();
    void work(Worker& self);
    bool sleep(Lock& lock, Worker& self);
    void keepWatch();
    void watch();

    const Options options;
    std::mutex mutex;
    std::deque<Task> tasks;
    std::list<std::shared_ptr<Worker>> workers;
    std::vector<std::shared_ptr<Worker>>
        idle;                // woken from the back, so that those in front can end
    bool abandoned = false;  // the queue object is gone

    bool watching = false;
    bool measured = false;  // whether the last watch left figures to compare with
    Clock::Instant lastWatch;
    int watchesWithoutStart = 0;
};

void WorkQueue::State::add(Task task) {
    Lock lock(mutex);
    tasks.push_back(std::move(task));
    if (!idle.empty()) {
        const auto worker = std::move(idle.back());
        idle.pop_back();
        worker->woken = true;
        lock.unlock();
        worker->wake.notify_one();
    } else if (workers.size() < options.width) {
        if (!startWorker() && workers.empty()) {
            fatalError("The system has no thread left for the queue " + options.label + ".");
        }
    } else if (options.grows && !watching) {
        measured = false;
        keepWatch();
    }
}

void WorkQueue::State::abandon() {
    const Lock lock(mutex);
    abandoned = true;
    for (const auto& worker : idle) worker->wake.notify_one();
}

bool WorkQueue::State::startWorker() {
    const auto worker = workers.emplace_back(std::make_shared<Worker>());
    const bool started =
        startThread(options.label, [self = shared_from_this(), worker] { self->work(*worker); });
    if (!started) workers.pop_back();
    return started;
}

void WorkQueue::State::work(Worker& self) {
    Lock lock(mutex);
    self.running = pthread_getcpuclockid(pthread_self(), &self.clock) == 0;
    do {
        while (!tasks.empty()) {
            Task task = std::move(tasks.front());
            tasks.pop_front();
            watchesWithoutStart = 0;
            lock.unlock();
            perform(std::move(task));
            lock.lock();
        }
    } while (sleep(lock, self));
    workers.remove_if([&](const auto& worker) { return worker.get() == &self; });
}

/// False if the thread should end.
bool WorkQueue::State::sleep(Lock& lock, Worker& self) {
    if (abandoned) return false;
    const auto found = std::find_if(workers.begin(), workers.end(),
                                    [&](const auto& worker) { return worker.get() == &self; });
    self.woken = false;
    idle.push_back(*found);
    self.wake.wait_for(lock, options.idle, [&] { return self.woken || abandoned; });
    if (!self.woken) std::erase(idle, *found);
    return self.woken;
}

void WorkQueue::State::keepWatch() {
    watching = true;
    runAfter(watchInterval, [self = shared_from_this()] { self->watch(); });
}

/// Tasks wait although all threads have one: adds threads for those that block.
void WorkQueue::State::watch() {
    const Lock lock(mutex);
    watching = false;
    if (tasks.empty()) return;

    const auto now = std::chrono::steady_clock::now();
    const auto elapsed = now - std::exchange(lastWatch, now);
    const auto busy = std::count_if(workers.begin(), workers.end(),
                                    [&](const auto& worker) { return worker->wasBusy(elapsed); });
    if (std::exchange(measured, true)) {
        std::size_t missing =
            options.width - std::min(options.width, static_cast<std::size_t>(busy));
        if (++watchesWithoutStart >= patience) missing = std::max<std::size_t>(missing, 1);
        for (missing = std::min(missing, tasks.size()); missing > 0 && startWorker();) --missing;
    }
    keepWatch();
}

WorkQueue::WorkQueue(Options options) : state_(std::make_shared<State>(std::move(options))) {}

WorkQueue::~WorkQueue() { state_->abandon(); }

void WorkQueue::async(Task task) {
    if (task) state_->add(std::move(task));
}

void WorkQueue::asyncAfter(Clock::Duration delay, Task task) {
    if (!task) return;
    runAfter(delay,
             [state = state_, task = std::move(task)]() mutable { state->add(std::move(task)); });
}

}  // namespace korvel::platform
