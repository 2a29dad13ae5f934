#include <korvel/platform/backends/curl/StreamConnections.h>
#include <korvel/platform/foundation/Delay.h>
#include <korvel/platform/foundation/DispatchQueue.h>

#include <algorithm>
#include <utility>

namespace korvel::platform {

namespace {
constexpr std::size_t mostIdle = 6;
}  // namespace

StreamConnections::StreamConnections(CurlSettings common) : settings(std::move(common)) {
    curl_share_setopt(cookies_.get(), CURLSHOPT_USERDATA, this);
    curl_share_setopt(cookies_.get(), CURLSHOPT_LOCKFUNC, lockCookies);
    curl_share_setopt(cookies_.get(), CURLSHOPT_UNLOCKFUNC, unlockCookies);
    curl_share_setopt(cookies_.get(), CURLSHOPT_SHARE, CURL_LOCK_DATA_COOKIE);
}

StreamConnections::~StreamConnections() {
    if (process_.isThis()) return;
    for (Multi& multi : idle_) (void)multi.handle.release();
    (void)cookies_.release();
}

void StreamConnections::lockCookies(CURL*, curl_lock_data, curl_lock_access, void* self) {
    static_cast<StreamConnections*>(self)->cookiesInUse_.lock();
}

void StreamConnections::unlockCookies(CURL*, curl_lock_data, void* self) {
    static_cast<StreamConnections*>(self)->cookiesInUse_.unlock();
}

StreamConnections::Multi StreamConnections::make() {
    Multi multi{std::unique_ptr<CURLM, MultiCleanUp>(curl_multi_init())};
    curl_multi_setopt(multi.handle.get(), CURLMOPT_MAXCONNECTS, 4L);
    return multi;
}

/// The one that was used last.
std::vector<StreamConnections::Multi>::iterator StreamConnections::find(
    const std::string& service) {
    const auto found = std::find_if(idle_.rbegin(), idle_.rend(), [&](const Multi& each) {
        return each.services.contains(service);
    });
    return found == idle_.rend() ? idle_.end() : std::prev(found.base());
}

StreamConnections::Multi StreamConnections::take(const std::string& service,
                                                 const std::atomic<bool>& cancelled) {
    std::unique_lock lock(mutex_);
    changed_.wait(lock, [&] {
        return cancelled || stopped_ || find(service) != idle_.end() ||
               !expected_.contains(service);
    });
    auto found = find(service);
    if (found == idle_.end()) {
        // Those of other services stay with these as long as there is room.
        if (idle_.size() < mostIdle) return make();
        found = idle_.begin();
    }
    Multi taken = std::move(*found);
    idle_.erase(found);
    taken.ahead = 0;
    return taken;
}

void StreamConnections::wake() {
    const std::lock_guard lock(mutex_);
    changed_.notify_all();
}

void StreamConnections::give(Easy easy, Multi multi, bool isAhead) {
    const std::lock_guard lock(mutex_);
    if (stopped_) {
        (void)easy.release();
        (void)multi.handle.release();
        return;
    }
    keepConnection(easy.get());
    curl_multi_remove_handle(multi.handle.get(), easy.get());
    easy.reset();
    if (multi.services.empty() || idle_.size() >= mostIdle) return;
    if (isAhead) {
        multi.ahead = ++lastAhead_;
        runAfter(longestUnused, [weak = weak_from_this(), ahead = multi.ahead] {
            const auto self = weak.lock();
            if (!self) return;
            DispatchQueue::global().async([self, ahead] { self->dropUnused(ahead); });
        });
    }
    idle_.push_back(std::move(multi));
}

void StreamConnections::dropUnused(std::uint64_t ahead) {
    const std::lock_guard lock(mutex_);
    std::erase_if(idle_, [&](const Multi& each) { return each.ahead == ahead; });
}

bool StreamConnections::expect(const std::string& service) {
    const std::lock_guard lock(mutex_);
    return !stopped_ && find(service) == idle_.end() && expected_.insert(service).second;
}

void StreamConnections::came(const std::string& service) {
    const std::lock_guard lock(mutex_);
    expected_.erase(service);
    changed_.notify_all();
}

void StreamConnections::stop() {
    if (!process_.isThis()) return;
    const std::lock_guard lock(mutex_);
    stopped_ = true;
    idle_.clear();
    changed_.notify_all();
}

}  // namespace korvel::platform
