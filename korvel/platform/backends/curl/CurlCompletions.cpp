#include <korvel/platform/backends/curl/CurlCompletions.h>
#include <korvel/platform/foundation/Delay.h>

#include <algorithm>
#include <iterator>
#include <utility>

namespace korvel::platform {

namespace {
constexpr Clock::Duration moment = std::chrono::milliseconds(2);
}

std::optional<std::uint64_t> CurlCompletions::take(std::vector<Transfer>& done) {
    bool starts = false;
    bool watches = false;
    std::uint64_t crew = 0;
    {
        const Lock lock(mutex_);
        waiting_.insert(waiting_.end(), std::move_iterator(done.begin()),
                        std::move_iterator(done.end()));
        starts = running_ == 0;
        if (starts) running_ = 1;
        crew = crew_;
        watches = !starts || waiting_.size() > 1;
        if (watches) watches = !std::exchange(watched_, true);
        if (watches) takenSeen_ = taken_;
    }
    done.clear();
    if (watches) watch();
    return starts ? std::optional(crew) : std::nullopt;
}

void CurlCompletions::add(std::vector<Transfer>& done) {
    if (done.empty()) return;
    if (const auto crew = take(done)) start(1, *crew);
}

void CurlCompletions::run(std::vector<Transfer>& done) {
    if (const auto crew = take(done)) run(*crew);
}

void CurlCompletions::start(std::size_t threads, std::uint64_t crew) {
    for (; threads > 0; --threads) {
        background_([self = shared_from_this(), crew] { self->run(crew); });
    }
}

void CurlCompletions::run(std::uint64_t crew) {
    auto before = std::chrono::steady_clock::now();
    Lock lock(mutex_);
    while (crew == crew_ && !waiting_.empty()) {
        const Transfer transfer = std::move(waiting_.front());
        waiting_.pop_front();
        ++taken_;
        lock.unlock();
        transfer->complete();
        const auto now = std::chrono::steady_clock::now();
        const auto usual = usual_.load(std::memory_order_relaxed);
        const std::chrono::nanoseconds took = std::min(now - before, 4 * quick);
        usual_.store(usual + (took - usual) / 8, std::memory_order_relaxed);
        before = now;
        lock.lock();
    }
    if (crew == crew_) --running_;
}

void CurlCompletions::watch() {
    runAfter(moment, [weak = weak_from_this()] {
        if (const auto self = weak.lock()) self->look();
    });
}

void CurlCompletions::look() {
    std::size_t missing = 0;
    std::uint64_t crew = 0;
    {
        const Lock lock(mutex_);
        watched_ = !waiting_.empty();
        if (!watched_) return;
        if (std::exchange(takenSeen_, taken_) == taken_) {
            crew = ++crew_;
            missing = running_ = waiting_.size();
        }
    }
    start(missing, crew);
    watch();
}

}  // namespace korvel::platform
