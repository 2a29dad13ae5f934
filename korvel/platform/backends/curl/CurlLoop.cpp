#include <korvel/platform/backends/curl/CurlLoop.h>
#include <korvel/platform/foundation/Delay.h>

#include <algorithm>
#include <utility>

namespace korvel::platform {

CurlLoop::CurlLoop(const URLSessionCurlOptions& options, BackgroundExecutor background)
    : background_(std::move(background)) {
    settings_.authorities = options.certificateAuthorityFile.string();
    settings_.pinnedPublicKey = options.pinnedPublicKey;
    settings_.largestBody = options.largestBody;
}

void CurlLoop::submit(Transfer transfer) {
    Lock lock(mutex_);
    if (stopped_) return;
    submitted_.push_back(std::move(transfer));
    if (lead_ == Lead::taken) {
        wake();
    } else if (lead_ != Lead::called) {
        const bool here = lastCompleting_ == std::this_thread::get_id();
        here ? startHere(lock) : callLeader(lock);
    }
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
        } else if (self->lead_ == Lead::kept) {
            self->callLeader(lock);
        }
    });
}

void CurlLoop::stop() {
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
    if (std::exchange(waiting_, false)) curl_multi_wakeup(multi_);
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
    if (!multi_) open();
    while (takeSubmitted()) {
        work();
        auto last = completeAllButLast();
        if (giveLeadBack()) {
            if (last) std::exchange(last, nullptr)->complete();
            if (!takeKeptLead()) return;
        } else {
            if (last) complete(std::move(last));
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
    return !stopped_;
}

bool CurlLoop::giveLeadBack() {
    const std::lock_guard lock(mutex_);
    if (stopped_ || !inFlight_.empty() || !submitted_.empty()) return false;
    lead_ = Lead::vacant;
    lastCompleting_ = leader_;
    leadIsFree_.notify_all();
    return true;
}

bool CurlLoop::takeKeptLead() {
    const std::lock_guard lock(mutex_);
    if (lastCompleting_ != std::this_thread::get_id()) return false;
    lastCompleting_ = {};
    if (lead_ != Lead::kept) return false;
    lead_ = Lead::taken;
    return true;
}

void CurlLoop::waitForWork() {
    {
        const std::lock_guard lock(mutex_);
        if (stopped_ || !submitted_.empty()) return;
        waiting_ = true;
    }
    using std::chrono::milliseconds;
    auto timeout = milliseconds(std::chrono::minutes(1));
    if (!inFlight_.empty()) timeout = std::chrono::ceil<milliseconds>(nextWatch_ - Clock::now());
    const auto bounded = std::max(timeout, milliseconds(0)).count();
    curl_multi_poll(multi_, nullptr, 0, static_cast<int>(bounded), nullptr);
}

void CurlLoop::open() {
    stopAtExit(shared_from_this());
    if (settings_.authorities.empty()) settings_.authorities = systemAuthorities();
    // A TLS session stays with the handle that made it unless it is shared. The leader alone uses
    // the share, so it needs no locks.
    settings_.tlsSessions = curl_share_init();
    curl_share_setopt(settings_.tlsSessions, CURLSHOPT_SHARE, CURL_LOCK_DATA_SSL_SESSION);
    CURLM* const multi = curl_multi_init();
    curl_multi_setopt(multi, CURLMOPT_PIPELINING, CURLPIPE_MULTIPLEX);
    curl_multi_setopt(multi, CURLMOPT_MAXCONNECTS, 64L);
    const std::lock_guard lock(mutex_);
    multi_ = multi;
}

void CurlLoop::close(Lock& lock) {
    CURLM* const multi = std::exchange(multi_, nullptr);
    lock.unlock();
    // Destroying a handler runs the host's code, which may come back here.
    for (auto& [easy, transfer] : inFlight_) curl_multi_remove_handle(multi, easy);
    std::exchange(inFlight_, {}).clear();
    std::exchange(taken_, {}).clear();
    std::exchange(done_, {}).clear();
    std::exchange(submitted_, {}).clear();
    curl_multi_cleanup(multi);
    curl_share_cleanup(std::exchange(settings_.tlsSessions, nullptr));
    lock.lock();
    lead_ = Lead::vacant;
    lastCompleting_ = {};
    leadIsFree_.notify_all();
}

void CurlLoop::work() {
    for (auto& transfer : taken_) add(std::move(transfer));
    taken_.clear();
    int running = 0;
    curl_multi_perform(multi_, &running);
    finishDone();
    endStalled();
}

void CurlLoop::add(Transfer transfer) {
    const auto now = Clock::now();
    CURL* const easy = transfer->start(settings_, now);
    if (easy && curl_multi_add_handle(multi_, easy) == CURLM_OK) {
        const auto watch = now + transfer->watchPeriod();
        nextWatch_ = inFlight_.empty() ? watch : std::min(nextWatch_, watch);
        inFlight_.emplace(easy, std::move(transfer));
        return;
    }
    if (easy) transfer->fail(makeURLError(URLErrorCode::unknown, "Out of memory"));
    done_.push_back(std::move(transfer));
}

void CurlLoop::finishDone() {
    int left = 0;
    while (const CURLMsg* message = curl_multi_info_read(multi_, &left)) {
        const CURLcode result = message->data.result;
        auto transfer = remove(message->easy_handle);
        if (transfer->finish(result)) {
            add(std::move(transfer));
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
    curl_multi_remove_handle(multi_, easy);
    return std::move(inFlight_.extract(easy).mapped());
}

/// The last one that is done, if any; the others go to the background.
CurlLoop::Transfer CurlLoop::completeAllButLast() {
    if (done_.empty()) return nullptr;
    Transfer last = std::move(done_.back());
    done_.pop_back();
    for (auto& transfer : done_) complete(std::move(transfer));
    done_.clear();
    return last;
}

void CurlLoop::complete(Transfer transfer) {
    background_([transfer = std::move(transfer)] { transfer->complete(); });
}

}  // namespace korvel::platform
