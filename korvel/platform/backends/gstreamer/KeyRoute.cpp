#include <korvel/platform/avfoundation/AVError.h>
#include <korvel/platform/backends/gstreamer/KeyRoute.h>

#include <utility>

namespace korvel::platform::gst {

bool KeyWait::wait() {
    std::unique_lock lock(mutex_);
    changed_.wait(lock, [&] { return state_ != State::waiting; });
    return state_ == State::finished;
}

void KeyWait::end(State state) {
    const std::lock_guard lock(mutex_);
    if (state_ != State::waiting) return;
    state_ = state;
    changed_.notify_all();
}

std::optional<KeyRoute::Key> KeyRoute::ask(const std::optional<URL>& address,
                                           const std::shared_ptr<KeyWait>& wait) {
    {
        const std::lock_guard lock(mutex_);
        if (refusal_) return *refusal_;
        const auto given = address ? given_.find(address->absoluteString()) : given_.end();
        if (given != given_.end()) return given->second;
    }
    bool cancelled = false;
    Key key = answer(address, wait, cancelled);
    if (cancelled) return std::nullopt;
    const auto* refusal = std::get_if<NSError>(&key);
    {
        const std::lock_guard lock(mutex_);
        if (refusal) {
            refusal_ = *refusal;
        } else {
            given_.insert_or_assign(address->absoluteString(), std::get<ContentKey>(key));
        }
    }
    if (refusal) failed_(*refusal);
    return key;
}

KeyRoute::Key KeyRoute::answer(const std::optional<URL>& address,
                               const std::shared_ptr<KeyWait>& wait, bool& cancelled) {
    if (!address)
        return makeAVError(AVError::contentIsNotAuthorized, "The key has no valid address.");
    const auto request = keys_->load(URLRequest(*address), [wait] { wait->finish(); });
    if (!wait->wait()) {
        request->cancel();
        cancelled = true;
        return NSError();
    }
    return request->key();
}

}  // namespace korvel::platform::gst
