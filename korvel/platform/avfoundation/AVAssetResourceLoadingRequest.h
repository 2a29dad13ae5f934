#pragma once

#include <korvel/platform/avfoundation/AVAssetResourceLoadingDataRequest.h>
#include <korvel/platform/avfoundation/ContentKeySystem.h>
#include <korvel/platform/foundation/URLRequest.h>

#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <variant>

namespace korvel::platform {

/// A media engine's wish for a content key, for the delegate to fulfil. Any thread.
///
/// The first ending counts: a finish, with or without an error, or the engine's `cancel`. Later
/// ones are dropped, so a delegate may answer however late.
class KORVEL_API AVAssetResourceLoadingRequest final : public Object {
public:
    using Answer = std::variant<Data, NSError>;
    /// Runs at most once, on the thread that finishes, and is destroyed with the ending.
    using Finished = std::function<void()>;

    enum class Wants { data, informationOnly };

    /// `keySystem` may be null: then no SPC is to be had.
    AVAssetResourceLoadingRequest(std::optional<URLRequest> request,
                                  std::shared_ptr<const ContentKeySystem> keySystem,
                                  Finished finished, Wants wants = Wants::data);

    const std::optional<URLRequest>& request() const { return request_; }

    /// The SPC for the key server. Nothing, and `*error` says why, if the device cannot make one.
    /// With it made, the data that the delegate responds with is taken for the CKC; without, for
    /// the bare key.
    std::optional<Data> streamingContentKeyRequestData(const Data& appCertificate,
                                                       const Data& contentIdentifier,
                                                       NSError* error);
    /// Null if the engine asks for no data.
    const std::shared_ptr<AVAssetResourceLoadingDataRequest>& dataRequest() const {
        return dataRequest_;
    }
    void finishLoading();
    void finishLoading(NSError error);
    /// `block` runs once the engine has cancelled, on its thread, or here and now if it has
    /// already; it is destroyed with any ending. For delegates that block: one at a time.
    void observeCancel(std::function<void()> block);
    bool isFinished() const;
    bool isCancelled() const;

    // For media engines.

    /// Nobody waits for it any more.
    void cancel();
    /// The key, opened here and now, or why there is none. Once finished.
    std::variant<ContentKey, NSError> key() const;

private:
    enum class State { pending, finished, cancelled };
    void end(State state, std::optional<NSError> error);

    const std::optional<URLRequest> request_;
    const std::shared_ptr<const ContentKeySystem> keySystem_;
    const std::shared_ptr<AVAssetResourceLoadingDataRequest> dataRequest_;

    mutable std::mutex mutex_;
    State state_ = State::pending;
    Finished finished_;
    std::function<void()> cancelled_;
    std::shared_ptr<const ContentKeyExchange> exchange_;
    Answer answer_;
};

}  // namespace korvel::platform
