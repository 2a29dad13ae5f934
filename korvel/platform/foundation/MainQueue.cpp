#include <korvel/platform/foundation/Delay.h>
#include <korvel/platform/foundation/MainQueue.h>
#include <korvel/platform/foundation/Thread.h>

#include <algorithm>
#include <condition_variable>
#include <deque>
#include <map>
#include <mutex>
#include <thread>
#include <unordered_map>
#include <utility>

namespace korvel::platform {

using namespace std::chrono_literals;

Pump::~Pump() = default;

struct MainQueue::State : std::enable_shared_from_this<State> {
    State(std::shared_ptr<const Clock> clock_, Driver driver)
        : clock(std::move(clock_)), mayOwnThread(driver == Driver::ownThread) {}

    void add(Task task);
    Token addDeadline(Clock::Duration delay, Clock::Duration interval, Task task);
    void cancel(Token token);
    bool isMain();
    bool isDriven();
    void attach(std::shared_ptr<Pump> pump);
    std::optional<Clock::Instant> drain();
    bool runUntil(const std::function<bool()>& done, std::optional<Clock::Duration> limit);
    void close();

private:
    using Lock = std::unique_lock<std::mutex>;
    struct Waiting {
        Token order;
        Task task;
    };
    struct Deadline {
        Clock::Duration interval;  // zero: runs once
        Task task;
        std::pair<Clock::Instant, Token> key;
        bool cancelled = false;
    };
    using Deadlines = std::map<std::pair<Clock::Instant, Token>, std::shared_ptr<Deadline>>;

    void wake(Lock lock, Clock::Instant at);
    void driveOnOwnThread();
    /// Whether another thread is at work on the queue, or has a run loop on it.
    bool isTaken() const;
    void giveWay();
    void takeOver();
    bool loop(Lock& lock, const std::function<bool()>& done, Clock::Instant end);
    std::optional<Clock::Instant> runPresent(Lock& lock);
    bool runTask(Lock& lock, Token bound);
    bool runDeadline(Lock& lock, Clock::Instant now, Token bound);
    void passOn(Lock& lock);
    std::optional<Clock::Instant> earliest() const;
    void waitUntil(Lock& lock, Clock::Instant at);

    const std::shared_ptr<const Clock> clock;
    const bool mayOwnThread;

    std::mutex mutex;
    std::condition_variable changed;
    std::deque<Waiting> tasks;
    Deadlines deadlines;
    std::unordered_map<Token, std::shared_ptr<Deadline>> repeating;
    Token next = 1;  // of tasks and deadlines alike: their order of arrival
    bool closed = false;

    // Who drives. A driver of the host's choice is for good: from then on views live on its thread.
    std::shared_ptr<Pump> pump;
    std::thread::id pumpThread;
    std::thread::id main;
    std::thread::id ownThread;  // while it exists
    bool ownThreadStarted = false;
    bool handedOver = false;  // to a pump or a run loop
    int loops = 0;            // run loops in progress, all of them on `loopThread`
    std::thread::id loopThread;
    Clock::Instant armed = Clock::Instant::max();  // the earliest time the driver knows of

    // Who runs a task right now: one thread only, several times where loops are nested.
    std::thread::id runner;
    int depth = 0;
    bool refused = false;  // somebody else wanted to run in the meantime
};

// MARK: giving

void MainQueue::State::add(Task task) {
    Lock lock(mutex);
    tasks.push_back({next++, std::move(task)});
    wake(std::move(lock), atOnce);
}

MainQueue::Token MainQueue::State::addDeadline(Clock::Duration delay, Clock::Duration interval,
                                               Task task) {
    Lock lock(mutex);
    const Token token = next++;
    const auto at = dueTime(clock->now(), delay);
    const std::pair key{at, token};
    const auto deadline = std::make_shared<Deadline>(Deadline{interval, std::move(task), key});
    deadlines.emplace(key, deadline);
    if (interval > Clock::Duration::zero()) repeating.emplace(token, deadline);
    wake(std::move(lock), at);
    return token;
}

void MainQueue::State::cancel(Token token) {
    std::shared_ptr<Deadline> released;  // after the lock: its closure may call the queue
    const Lock lock(mutex);
    const auto found = repeating.find(token);
    if (found == repeating.end()) return;
    released = std::move(found->second);
    repeating.erase(found);
    released->cancelled = true;
    deadlines.erase(released->key);
}

void MainQueue::State::wake(Lock lock, Clock::Instant at) {
    if (at >= armed) return;
    armed = at;
    if (mayOwnThread && !handedOver && !std::exchange(ownThreadStarted, true)) {
        startThreadOrWait("korvel main", [self = shared_from_this()] { self->driveOnOwnThread(); });
    }
    const auto target = pump;
    lock.unlock();
    changed.notify_all();
    if (target) target->wakeAt(at);
}

// MARK: driving

void MainQueue::State::driveOnOwnThread() {
    Lock lock(mutex);
    if (!handedOver) main = std::this_thread::get_id();
    ownThread = std::this_thread::get_id();
    while (!handedOver && !closed) {
        runPresent(lock);
        if (!handedOver && !closed) waitUntil(lock, earliest().value_or(Clock::Instant::max()));
    }
    ownThread = {};
}

bool MainQueue::State::isMain() {
    const Lock lock(mutex);
    return std::this_thread::get_id() == (depth > 0 ? runner : main);
}

bool MainQueue::State::isDriven() {
    const Lock lock(mutex);
    return pump || loops > 0;
}

void MainQueue::State::attach(std::shared_ptr<Pump> chosen) {
    std::shared_ptr<Pump> released;
    Lock lock(mutex);
    released = std::exchange(pump, std::move(chosen));
    if (!pump) return;
    handedOver = true;
    pumpThread = std::this_thread::get_id();
    if (loops == 0) main = pumpThread;
    passOn(lock);
}

std::optional<Clock::Instant> MainQueue::State::drain() {
    Lock lock(mutex);
    if (isTaken()) {
        giveWay();
        return std::nullopt;
    }
    takeOver();
    return runPresent(lock);
}

bool MainQueue::State::runUntil(const std::function<bool()>& done,
                                std::optional<Clock::Duration> limit) {
    const auto end = limit ? dueTime(clock->now(), *limit) : Clock::Instant::max();
    Lock lock(mutex);
    while (isTaken()) {
        giveWay();
        if (closed || clock->now() >= end) return false;
        waitUntil(lock, end);
    }
    takeOver();
    ++loops;
    loopThread = std::this_thread::get_id();
    const bool finished = loop(lock, done, end);
    if (--loops == 0) {
        if (pump) main = pumpThread;
        passOn(lock);
    }
    return finished;
}

bool MainQueue::State::loop(Lock& lock, const std::function<bool()>& done, Clock::Instant end) {
    while (true) {
        runPresent(lock);
        lock.unlock();
        const bool finished = [&]() noexcept { return done(); }();
        lock.lock();
        if (finished) return true;
        if (closed || clock->now() >= end) return false;
        waitUntil(lock, std::min(end, earliest().value_or(end)));
    }
}

bool MainQueue::State::isTaken() const {
    const auto self = std::this_thread::get_id();
    return (depth > 0 && runner != self) || (loops > 0 && loopThread != self);
}

/// The other one passes on when it is through; the own thread does so after its task in progress.
void MainQueue::State::giveWay() {
    refused = true;
    handedOver = handedOver || runner == ownThread;
}

void MainQueue::State::takeOver() {
    const auto self = std::this_thread::get_id();
    if (self == ownThread) return;  // a loop nested in one of its tasks
    main = self;
    if (!std::exchange(handedOver, true)) changed.notify_all();
}

// MARK: running

std::optional<Clock::Instant> MainQueue::State::runPresent(Lock& lock) {
    const auto self = std::this_thread::get_id();
    const Token bound = next;
    const auto now = clock->now();
    runner = self;
    ++depth;
    armed = Clock::Instant::max();
    startWaitingThreads();
    const auto retires = [&] { return self == ownThread && handedOver && depth == 1; };
    while (!retires() && runTask(lock, bound)) continue;
    while (!retires() && runDeadline(lock, now, bound)) continue;

    const auto at = earliest();
    armed = at.value_or(Clock::Instant::max());
    if (--depth == 0) {
        runner = {};
        if (std::exchange(refused, false) || (self == ownThread && handedOver)) passOn(lock);
    }
    return at;
}

bool MainQueue::State::runTask(Lock& lock, Token bound) {
    if (tasks.empty() || tasks.front().order >= bound) return false;
    Task task = std::move(tasks.front().task);
    tasks.pop_front();
    lock.unlock();
    perform(std::move(task));
    lock.lock();
    return true;
}

bool MainQueue::State::runDeadline(Lock& lock, Clock::Instant now, Token bound) {
    auto due = deadlines.begin();
    while (due != deadlines.end() && due->first.first <= now && due->first.second >= bound) ++due;
    if (due == deadlines.end() || due->first.first > now) return false;

    auto node = deadlines.extract(due);  // a nested loop does not run it a second time
    Deadline& deadline = *node.mapped();
    const bool repeats = deadline.interval > Clock::Duration::zero();
    lock.unlock();
    if (repeats) {
        [&]() noexcept { deadline.task(); }();
    } else {
        perform(std::move(deadline.task));
    }
    const auto after = clock->now();
    lock.lock();
    if (repeats && !deadline.cancelled && !closed) {
        auto& at = deadline.key.first;
        if (after > at) at += (after - at) / deadline.interval * deadline.interval;
        at = dueTime(at, deadline.interval);
        node.key() = deadline.key;
        deadlines.insert(std::move(node));
    } else {
        lock.unlock();
        node = {};
        lock.lock();
    }
    return true;
}

/// Tells whoever drives now what there is to do.
void MainQueue::State::passOn(Lock& lock) {
    const auto at = earliest();
    armed = at.value_or(Clock::Instant::max());
    const auto target = pump;
    lock.unlock();
    changed.notify_all();
    if (target && at) target->wakeAt(*at);
    lock.lock();
}

std::optional<Clock::Instant> MainQueue::State::earliest() const {
    if (!tasks.empty()) return atOnce;
    if (deadlines.empty()) return std::nullopt;
    return deadlines.begin()->first.first;
}

void MainQueue::State::waitUntil(Lock& lock, Clock::Instant at) {
    const auto now = clock->now();
    if (at <= now) return;
    // By the length, as the clock may be another than the system's; an hour at most, as the
    // library's own arithmetic on the last instants would overflow.
    changed.wait_for(lock, std::min<Clock::Duration>(at - now, 1h));
}

void MainQueue::State::close() {
    // Released after the lock: closures may call back.
    std::deque<Waiting> droppedTasks;
    Deadlines droppedDeadlines;
    std::unordered_map<Token, std::shared_ptr<Deadline>> droppedRepeating;
    std::shared_ptr<Pump> droppedPump;
    const Lock lock(mutex);
    closed = true;
    droppedTasks.swap(tasks);
    droppedDeadlines.swap(deadlines);
    droppedRepeating.swap(repeating);
    droppedPump.swap(pump);
    changed.notify_all();
}

// MARK: the queue itself. Its state outlives it where it goes during a task of its own.

MainQueue::MainQueue(std::shared_ptr<const Clock> clock, Driver driver)
    : state_(std::make_shared<State>(std::move(clock), driver)) {}

MainQueue::~MainQueue() { state_->close(); }

void MainQueue::async(Task task) {
    if (task) state_->add(std::move(task));
}

void MainQueue::asyncAfter(Clock::Duration delay, Task task) {
    if (task) state_->addDeadline(delay, Clock::Duration::zero(), std::move(task));
}

MainQueue::Token MainQueue::every(Clock::Duration interval, Task task) {
    if (!task) return 0;
    interval = std::max<Clock::Duration>(interval, 100us);  // no interval would be a busy loop
    return state_->addDeadline(interval, interval, std::move(task));
}

void MainQueue::cancel(Token token) { state_->cancel(token); }

bool MainQueue::isMain() const { return state_->isMain(); }

bool MainQueue::isDriven() const { return state_->isDriven(); }

void MainQueue::attach(std::shared_ptr<Pump> pump) { state_->attach(std::move(pump)); }

std::optional<Clock::Instant> MainQueue::drain() {
    const auto state = state_;
    return state->drain();
}

bool MainQueue::runUntil(const std::function<bool()>& done, std::optional<Clock::Duration> limit) {
    const auto state = state_;
    return state->runUntil(done, limit);
}

}  // namespace korvel::platform
