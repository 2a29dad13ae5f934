#pragma once

#include <korvel/platform/avfoundation/AVAssetResourceLoader.h>

#include <condition_variable>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <variant>

namespace korvel::platform::gst {

/// Lets a thread wait for a key, and another one wake it. Any thread.
class KeyWait {
public:
    void finish() { end(State::finished); }
    void cancel() { end(State::cancelled); }
    /// False if cancelled.
    bool wait();

private:
    enum class State { waiting, finished, cancelled };
    void end(State state);

    std::mutex mutex_;
    std::condition_variable changed_;
    State state_ = State::waiting;
};

/// Leads a playback's key requests to its asset. Any thread.
class KeyRoute {
public:
    using Key = std::variant<ContentKey, NSError>;

    /// `failed` hears of the first refusal on the asking thread.
    KeyRoute(std::shared_ptr<AVAssetResourceLoader> keys,
             std::function<void(const NSError&)> failed)
        : keys_(std::move(keys)), failed_(std::move(failed)) {}

    /// Waits for the answer; nothing if `wait` was cancelled. Each key is asked for once. After a
    /// refusal nobody is asked any more: the demuxer would go on for ever.
    std::optional<Key> ask(const std::optional<URL>& address, const std::shared_ptr<KeyWait>& wait);

private:
    Key answer(const std::optional<URL>& address, const std::shared_ptr<KeyWait>& wait,
               bool& cancelled);

    const std::shared_ptr<AVAssetResourceLoader> keys_;
    const std::function<void(const NSError&)> failed_;
    std::mutex mutex_;
    std::map<std::string, ContentKey> given_;  ///< by address
    std::optional<NSError> refusal_;
};

}  // namespace korvel::platform::gst
