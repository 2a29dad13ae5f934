#include <korvel/platform/avfoundation/AVAssetResourceLoadingRequest.h>
#include <korvel/platform/avfoundation/AVError.h>

#include <algorithm>
#include <utility>

namespace korvel::platform {

void AVAssetResourceLoadingDataRequest::respond(const Data& data) {
    const std::lock_guard lock(mutex_);
    if (!closed_) data_.insert(data_.end(), data.begin(), data.end());
}

Data AVAssetResourceLoadingDataRequest::close() {
    const std::lock_guard lock(mutex_);
    closed_ = true;
    return std::exchange(data_, {});
}

AVAssetResourceLoadingRequest::AVAssetResourceLoadingRequest(
    std::optional<URLRequest> request, std::shared_ptr<const ContentKeySystem> keySystem,
    Finished finished, Wants wants)
    : request_(std::move(request)),
      keySystem_(std::move(keySystem)),
      dataRequest_(wants == Wants::data ? std::make_shared<AVAssetResourceLoadingDataRequest>()
                                        : nullptr),
      finished_(std::move(finished)) {}

std::optional<Data> AVAssetResourceLoadingRequest::streamingContentKeyRequestData(
    const Data& appCertificate, const Data& contentIdentifier, NSError* error) {
    NSError reason;
    std::shared_ptr<const ContentKeyExchange> made;
    if (keySystem_) {
        made = keySystem_->exchange(appCertificate, contentIdentifier, &reason);
    } else {
        reason = makeAVError(AVError::contentIsProtected, "The device has no content key system.");
    }
    if (!made) {
        if (error) *error = std::move(reason);
        return std::nullopt;
    }
    const std::lock_guard lock(mutex_);
    exchange_ = std::move(made);
    return exchange_->spc();
}

void AVAssetResourceLoadingRequest::finishLoading() { end(State::finished, std::nullopt); }

void AVAssetResourceLoadingRequest::finishLoading(NSError error) {
    end(State::finished, std::move(error));
}

void AVAssetResourceLoadingRequest::cancel() { end(State::cancelled, std::nullopt); }

void AVAssetResourceLoadingRequest::end(State state, std::optional<NSError> error) {
    Finished finished;  // called and destroyed after the lock: either may own the request
    std::function<void()> cancelled;
    {
        const std::lock_guard lock(mutex_);
        if (state_ != State::pending) return;
        state_ = state;
        finished = std::exchange(finished_, nullptr);
        cancelled = std::exchange(cancelled_, nullptr);
        Data data = dataRequest_ ? dataRequest_->close() : Data();
        if (error) {
            answer_ = *std::move(error);
        } else {
            answer_ = std::move(data);
        }
    }
    if (finished && state == State::finished) finished();
    if (cancelled && state == State::cancelled) cancelled();
}

void AVAssetResourceLoadingRequest::observeCancel(std::function<void()> block) {
    {
        const std::lock_guard lock(mutex_);
        if (state_ == State::finished) return;
        if (state_ == State::pending) {
            cancelled_.swap(block);
            return;
        }
    }
    block();
}

bool AVAssetResourceLoadingRequest::isFinished() const {
    const std::lock_guard lock(mutex_);
    return state_ == State::finished;
}

bool AVAssetResourceLoadingRequest::isCancelled() const {
    const std::lock_guard lock(mutex_);
    return state_ == State::cancelled;
}

std::variant<ContentKey, NSError> AVAssetResourceLoadingRequest::key() const {
    std::shared_ptr<const ContentKeyExchange> exchange;
    Answer answer;
    {
        const std::lock_guard lock(mutex_);
        exchange = exchange_;
        answer = answer_;
    }
    if (const auto* error = std::get_if<NSError>(&answer)) return *error;
    const Data& data = std::get<Data>(answer);
    if (exchange) {
        NSError error;
        if (const auto opened = exchange->open(data, &error)) return *opened;
        return error;
    }
    ContentKey key;
    if (data.size() != key.size()) {
        return makeAVError(AVError::contentIsNotAuthorized,
                           "A key has 16 bytes, not " + std::to_string(data.size()) + ".");
    }
    std::copy(data.begin(), data.end(), key.begin());
    return key;
}

}  // namespace korvel::platform
