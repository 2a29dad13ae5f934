#include <korvel/platform/backends/curl/CurlLoop.h>
#include <korvel/platform/foundation/Delay.h>

#include <algorithm>
#include <utility>

namespace korvel::platform {

CurlLoop::CurlLoop(const URLSessionCurlOptions& options, BackgroundExecutor background)
    : background_(std::move(background)),
      completions_(std::make_shared<CurlCompletions>(background_)),
      idleConnections_(options.idleConnections),
      settings_(settingsFrom(options)) {
    watchForExit();
}

void CurlLoop::submit(Transfer transfer) {
    Lock lock(mutex_);
    if (stopped_) return;
    submitted_.push_back(std::move(transfer));
    if (lead_ == Lead::taken) return wake();
    const bool here = lastCompleting_ == std::this_thread::get_id();
    if (lead_ == Lead::called || (here && lead_ == Lead::lent)) return;
    here ? startHere(lock) : callLeader(lock);
}

void CurlLoop::cancel(Transfer transfer) {
    const Lock lock(mutex_);
    if (stopped_ || lead_ == Lead::vacant) return;  // then nothing is under way
    cancelled_.push_back(std::move(transfer));
    if (lead_ == Lead::taken) wake();
}

void CurlLoop::callLeader(Lock& lock) {
    lead_ = Lead::called;
    lastCompleting_ = {};
    lock.unlock();
    background_([self = shared_from_this()] { self->lead(); });
}

void CurlLoop::startHere(Lock& lock) {
    lead_ = Lead::taken;
    leader_ = lastCompleting_;
    lock.unlock();
    if (takeSubmitted()) work();
    lock.lock();
    if (stopped_) return close(lock);
    if (!submitted_.empty()) return callLeader(lock);
    lead_ = Lead::kept;
    leadIsFree_.notify_all();
    ++timesKept_;
    if (std::exchange(watched_, true)) return;
    lock.unlock();
    watchKeptLead();
}

void CurlLoop::lendLead() {
    {
        const std::lock_guard lock(mutex_);
        lead_ = Lead::lent;
        lastCompleting_ = leader_;
        leadIsFree_.notify_all();
        ++timesKept_;
        if (std::exchange(watched_, true)) return;
    }
    watchKeptLead();
}

/// One timer for all that happens within its time: arming one for each request would wake a thread,
/// too.
void CurlLoop::watchKeptLead() {
    runAfter(std::chrono::milliseconds(2), [weak = weak_from_this()] {
        const auto self = weak.lock();
        if (!self) return;
        Lock lock(self->mutex_);
        self->watched_ = !self->stopped_ && self->timesKeptSeen_ != self->timesKept_;
        self->timesKeptSeen_ = self->timesKept_;
        if (self->watched_) {
            lock.unlock();
            self->watchKeptLead();
        } else if (self->lead_ == Lead::kept || self->lead_ == Lead::lent) {
            self->callLeader(lock);
        }
    });
}

void CurlLoop::stop() {
    if (!process_.isThis()) return;
    stopping_ = true;
    Lock lock(mutex_);
    stopped_ = true;
    if (lead_ == Lead::taken && leader_ == std::this_thread::get_id()) return;
    wake();
    leadIsFree_.wait(lock, [this] { return lead_ != Lead::taken; });
    lead_ = Lead::taken;
    leader_ = std::this_thread::get_id();
    close(lock);
}

void CurlLoop::wake() {
    if (std::exchange(waiting_, false)) events_->wake();
}

bool CurlLoop::takeLead() {
    const std::lock_guard lock(mutex_);
    if (stopped_) return false;  // whoever stopped it has cleared up
    lead_ = Lead::taken;
    leader_ = std::this_thread::get_id();
    return true;
}

void CurlLoop::lead() {
    if (!takeLead()) return;
    closeIdle();
    std::vector<Transfer> done;
    while (takeSubmitted()) {
        work();
        done.swap(done_);
        if (giveLeadBack()) {
            const auto last = done.empty() ? nullptr : std::move(done.back());
            if (last) done.pop_back();
            completions_->add(done);
            if (last) last->complete();
            if (!takeKeptLead()) return;
        } else if (!done.empty() && completions_->areQuick()) {
            lendLead();
            completions_->run(done);
            if (!takeKeptLead()) return;
        } else {
            completions_->add(done);
            waitForWork();
        }
    }
    Lock lock(mutex_);
    close(lock);
}

bool CurlLoop::takeSubmitted() {
    const std::lock_guard lock(mutex_);
    waiting_ = false;
    taken_.swap(submitted_);
    dropped_.swap(cancelled_);
    return !stopped_;
}

bool CurlLoop::giveLeadBack() {
    const std::lock_guard lock(mutex_);
    if (stopped_ || !inFlight_.empty() || !turns_.nobodyWaits() || !submitted_.empty())
        return false;
    lead_ = Lead::vacant;
    lastCompleting_ = leader_;
    leadIsFree_.notify_all();
    ++timesGivenBack_;
    if (events_ && events_->sockets() > 0 && !std::exchange(idleWatched_, true))
        watchIdleConnections();
    return true;
}

bool CurlLoop::takeKeptLead() {
    const std::lock_guard lock(mutex_);
    if (lastCompleting_ != std::this_thread::get_id()) return false;
    lastCompleting_ = {};
    if (lead_ != Lead::kept && lead_ != Lead::lent) return false;
    lead_ = Lead::taken;
    return true;
}

void CurlLoop::waitForWork() {
    {
        const std::lock_guard lock(mutex_);
        if (stopped_ || !submitted_.empty() || !cancelled_.empty()) return;
        waiting_ = true;
    }
    using std::chrono::milliseconds;
    auto timeout = milliseconds(std::chrono::minutes(1));
    if (!inFlight_.empty()) timeout = std::chrono::ceil<milliseconds>(nextWatch_ - Clock::now());
    events_->wait(timeout);
}

/// Whoever has asked for nothing for so long will hardly need the connections, which the service
/// may have closed by then. One timer for all that happens within its time.
void CurlLoop::watchIdleConnections() {
    runAfter(idleConnections_, [weak = weak_from_this(), given = timesGivenBack_] {
        const auto self = weak.lock();
        if (!self) return;
        Lock lock(self->mutex_);
        self->idleWatched_ = false;
        if (self->stopped_ || self->lead_ != Lead::vacant) return;
        if (given != self->timesGivenBack_) {
            self->idleWatched_ = true;
            return self->watchIdleConnections();
        }
        self->closesIdle_ = true;
        self->callLeader(lock);
    });
}

void CurlLoop::open() {
    if (!settings_.tlsSessions) {
        if (!stopAtExit(shared_from_this())) {
            const std::lock_guard lock(mutex_);
            stopped_ = true;
            return;
        }
        if (settings_.authorities.empty()) settings_.authorities = systemAuthorities();
        // A TLS session stays with the handle that made it unless it is shared. The leader alone
        // uses the share, so it needs no locks.
        settings_.tlsSessions = curl_share_init();
        curl_share_setopt(settings_.tlsSessions, CURLSHOPT_SHARE, CURL_LOCK_DATA_SSL_SESSION);
    }
    CURLM* const multi = multi_ ? multi_ : curl_multi_init();
    curl_multi_setopt(multi, CURLMOPT_PIPELINING, CURLPIPE_MULTIPLEX);
    constexpr long most = CurlTurns::mostPerService;
    curl_multi_setopt(multi, CURLMOPT_MAXCONNECTS, most);
    curl_multi_setopt(multi, CURLMOPT_MAX_CONCURRENT_STREAMS, most);  // by itself 100
    auto events = std::make_unique<CurlEvents>(multi);
    settings_.events = events.get();
    const std::lock_guard lock(mutex_);
    multi_ = multi;
    events_ = std::move(events);
}

void CurlLoop::closeIdle() {
    std::unique_ptr<CurlEvents> events;
    CURLM* multi = nullptr;
    {
        const std::lock_guard lock(mutex_);
        if (!std::exchange(closesIdle_, false) || !inFlight_.empty()) return;
        events = std::exchange(events_, nullptr);
        multi = std::exchange(multi_, nullptr);
    }
    settings_.events = nullptr;
    handles_.clear();
    curl_multi_cleanup(multi);
}

void CurlLoop::close(Lock& lock) {
    CURLM* const multi = std::exchange(multi_, nullptr);
    const auto events = std::exchange(events_, nullptr);
    lock.unlock();
    // Destroying a handler runs the host's code, which may come back here.
    for (auto& [easy, transfer] : inFlight_) curl_multi_remove_handle(multi, easy);
    std::exchange(inFlight_, {}).clear();
    turns_.clear();
    std::exchange(taken_, {}).clear();
    std::exchange(done_, {}).clear();
    std::exchange(submitted_, {}).clear();
    std::exchange(dropped_, {}).clear();
    std::exchange(cancelled_, {}).clear();
    handles_.clear();
    curl_multi_cleanup(multi);
    curl_share_cleanup(std::exchange(settings_.tlsSessions, nullptr));
    lock.lock();
    lead_ = Lead::vacant;
    lastCompleting_ = {};
    leadIsFree_.notify_all();
}

void CurlLoop::work() {
    if (!taken_.empty() && !(events_ && events_->isOpen())) open();
    for (auto& transfer : taken_) turns_.enter(std::move(transfer));
    taken_.clear();
    for (const auto& transfer : std::exchange(dropped_, {})) drop(transfer);
    if (!events_) return;
    startNext();
    events_->act(stopping_);
    finishDone();
    endStalled();
    startNext();
}

/// One that is nowhere here is on its way to its completion.
void CurlLoop::drop(const Transfer& transfer) {
    if (turns_.withdraw(transfer)) return done_.push_back(transfer);
    const auto found = std::find_if(inFlight_.begin(), inFlight_.end(),
                                    [&](const auto& each) { return each.second == transfer; });
    if (found == inFlight_.end()) return;
    done_.push_back(remove(found->first));
    done_.back()->giveUp(makeURLError(URLErrorCode::unknown, "Cancelled"));
}

void CurlLoop::startNext() {
    while (!stopping_) {
        auto transfer = turns_.next();
        if (!transfer) return;
        add(std::move(transfer));
    }
}

void CurlLoop::add(Transfer transfer) {
    const auto now = Clock::now();
    CURL* const easy = transfer->start(settings_, handles_, now);
    const bool canStart = easy && events_->isOpen();
    if (canStart && curl_multi_add_handle(multi_, easy) == CURLM_OK) {
        const auto watch = now + transfer->watchPeriod();
        nextWatch_ = inFlight_.empty() ? watch : std::min(nextWatch_, watch);
        inFlight_.emplace(easy, std::move(transfer));
        return;
    }
    if (easy) {
        transfer->fail(
            makeURLError(URLErrorCode::unknown, canStart ? "Out of memory" : "Out of descriptors"));
    }
    turns_.leave(*transfer);
    done_.push_back(std::move(transfer));
}

void CurlLoop::finishDone() {
    int left = 0;
    while (const CURLMsg* message = curl_multi_info_read(multi_, &left)) {
        const CURLcode result = message->data.result;
        auto transfer = remove(message->easy_handle);
        if (transfer->finish(result)) {
            turns_.enter(std::move(transfer));
        } else {
            done_.push_back(std::move(transfer));
        }
    }
}

void CurlLoop::endStalled() {
    const auto now = Clock::now();
    if (inFlight_.empty() || now < nextWatch_) return;
    nextWatch_ = Clock::time_point::max();
    std::vector<std::pair<CURL*, NSError>> objections;
    for (const auto& [easy, transfer] : inFlight_) {
        nextWatch_ = std::min(nextWatch_, now + transfer->watchPeriod());
        if (auto error = transfer->objection(now)) objections.emplace_back(easy, std::move(*error));
    }
    for (auto& [easy, error] : objections) {
        done_.push_back(remove(easy));
        done_.back()->giveUp(std::move(error));
    }
}

CurlLoop::Transfer CurlLoop::remove(CURL* easy) {
    keepConnection(easy);
    curl_multi_remove_handle(multi_, easy);
    auto transfer = std::move(inFlight_.extract(easy).mapped());
    turns_.leave(*transfer);
    return transfer;
}

}  // namespace korvel::platform
