#include <korvel/platform/foundation/Delay.h>
#include <korvel/platform/foundation/Thread.h>
#include <korvel/platform/foundation/WorkQueue.h>

#include <fcntl.h>
#include <unistd.h>
#include <algorithm>
#include <condition_variable>
#include <deque>
#include <list>
#include <mutex>
#include <string_view>
#include <tuple>
#include <utility>
#include <vector>

namespace korvel::platform {

using namespace std::chrono_literals;

namespace {

constexpr Clock::Duration watchInterval = 2ms;
/// Watches without a task started, after which any thread counts as blocked.
constexpr int patience = 50;

struct Worker {
    std::condition_variable wake;
    bool woken = false;
    pid_t thread = 0;  // 0 until it has begun

    /// Whether it is at work, or would be if it had a core, rather than waiting for something.
    bool isRunnable() const {
        if (thread == 0) return true;
        const auto path = "/proc/self/task/" + std::to_string(thread) + "/stat";
        char text[128];
        const int file = open(path.c_str(), O_RDONLY | O_CLOEXEC);
        const auto size = file < 0 ? 0 : read(file, text, sizeof text);
        if (file >= 0) close(file);
        // "123 (name) R ...", where the name may hold anything.
        const std::string_view line(text, size < 0 ? 0 : static_cast<std::size_t>(size));
        const auto name = line.rfind(')');
        return name != line.npos && line.substr(name).starts_with(") R");
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
    std::vector<std::shared_ptr<Worker>> idle;  // woken from the back: those in front may end
    bool abandoned = false;                     // the queue object is gone

    bool watching = false;
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
    } else if (workers.empty()) {
        const auto worker = workers.emplace_back(std::make_shared<Worker>());
        startThreadOrWait(options.label,
                          [self = shared_from_this(), worker] { self->work(*worker); });
    } else if (workers.size() < options.width) {
        startWorker();
    } else if (options.grows && !watching) {
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
    if (options.niceness > 0) std::ignore = nice(options.niceness);  // the thread's alone
    Lock lock(mutex);
    self.thread = gettid();
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

/// Tasks wait although all threads have one: adds threads for those that block, more of them the
/// more there are already.
void WorkQueue::State::watch() {
    const Lock lock(mutex);
    watching = false;
    if (tasks.empty()) return;

    std::size_t runnable = 0;
    for (const auto& worker : workers) {
        if (worker->isRunnable() && ++runnable == options.width) break;
    }
    std::size_t added = ++watchesWithoutStart >= patience ? 1 : 0;
    if (runnable < options.width) added = std::max(options.width - runnable, workers.size() / 4);
    for (added = std::min(added, tasks.size()); added > 0 && startWorker();) --added;
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
