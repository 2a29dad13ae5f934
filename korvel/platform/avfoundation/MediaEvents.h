#pragma once

#include <korvel/platform/foundation/Clock.h>
#include <korvel/platform/foundation/Export.h>
#include <korvel/platform/foundation/MainQueue.h>
#include <korvel/platform/foundation/NSError.h>
#include <korvel/platform/foundation/SharedObject.h>

#include <atomic>
#include <functional>
#include <memory>
#include <optional>

namespace korvel::platform {

class AVPlayerItem;

/// What a stream goes through before it shows anything; files have neither playlist nor key.
enum class MediaStep {
    playlist,  ///< what names the first segment is there
    keyAsked,  ///< the first content key has been asked for
    key,       ///< and has come
    segment,   ///< the first bytes of media are there
    picture,   ///< the first picture; of sound alone, the first sound
};

/// When a stream took its steps, each for the first time, on the device's clock. What has not
/// happened is absent.
struct MediaStartUp {
    using Moment = std::optional<Clock::Instant>;
    Moment opened{};  ///< a player began to load it
    Moment playlist{};
    Moment keyAsked{};
    Moment key{};
    Moment segment{};
    Moment picture{};
};

/// What a playback reports of itself: any thread, any number of times, at once and never waiting.
/// Each report is carried to the main queue in order; what changes nothing is dropped there.
class KORVEL_API MediaEvents : public SharedObject<MediaEvents> {
public:
    MediaEvents(std::weak_ptr<AVPlayerItem> item, std::weak_ptr<MainQueue> mainQueue,
                std::shared_ptr<const Clock> clock);

    /// The first report of each step counts, and the moment in which it is made.
    void took(MediaStep step);
    /// The first picture is there, and seeks and rates will be obeyed.
    void ready();
    /// Whether what is loaded ahead suffices to play on. Starts as not.
    void buffered(bool enough);
    /// More is loaded than was, or something else.
    void loadedChanged();
    /// Other subtitles are loaded, or chosen, than were.
    void cuesChanged();
    void seekEnded();
    void durationChanged();
    void frameChanged();
    void playedToEnd();
    /// For good: nothing counts after it.
    void failed(NSError error);

private:
    void post(std::function<void(AVPlayerItem&)> report);

    const std::weak_ptr<AVPlayerItem> item_;
    const std::weak_ptr<MainQueue> mainQueue_;
    const std::shared_ptr<const Clock> clock_;
    std::atomic<bool> frameReported_ = false;
    std::atomic<bool> loadReported_ = false;
};

}  // namespace korvel::platform
