#pragma once

#include <korvel/platform/backends/gstreamer/KeyRoute.h>
#include <korvel/platform/foundation/ResponseStream.h>

#include <atomic>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <utility>

namespace korvel::platform::gst {

/// Where one playback's sources get their bytes, and to whom they tell what went wrong. Any thread.
class Route {
public:
    /// `failed` hears at once of what ends the playback whatever the demuxer makes of it, on the
    /// thread of the source.
    Route(std::shared_ptr<StreamLoader> loader, std::shared_ptr<AVAssetResourceLoader> keys,
          const std::function<void(const NSError&)>& failed)
        : keys_(std::move(keys), failed), loader_(std::move(loader)), failed_(failed) {}

    KeyRoute& keys() { return keys_; }
    StreamLoader& loader() const { return *loader_; }

    void fail(const NSError& error) const { failed_(error); }

    /// While one exists, a source waits for bytes or for a key.
    class Wait {
    public:
        explicit Wait(Route& route) : route_(route) { ++route_.waits_; }
        ~Wait() {
            ++route_.portions_;
            --route_.waits_;
        }
        Wait(const Wait&) = delete;
        Wait& operator=(const Wait&) = delete;

    private:
        Route& route_;
    };
    bool isWaiting() const { return waits_ > 0; }
    /// How often such a wait has ended.
    std::uint64_t portions() const { return portions_; }

    /// A demuxer says only that a download failed: here stands why the last one did.
    void note(const NSError& error) {
        const std::lock_guard lock(mutex_);
        lastTrouble_ = error;
    }
    std::optional<NSError> lastTrouble() const {
        const std::lock_guard lock(mutex_);
        return lastTrouble_;
    }

private:
    KeyRoute keys_;
    const std::shared_ptr<StreamLoader> loader_;
    const std::function<void(const NSError&)> failed_;
    std::atomic<int> waits_ = 0;
    std::atomic<std::uint64_t> portions_ = 0;
    mutable std::mutex mutex_;
    std::optional<NSError> lastTrouble_;
};

}  // namespace korvel::platform::gst
