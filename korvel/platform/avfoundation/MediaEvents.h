#pragma once

#include <korvel/platform/foundation/Export.h>
#include <korvel/platform/foundation/MainQueue.h>
#include <korvel/platform/foundation/NSError.h>
#include <korvel/platform/foundation/SharedObject.h>

#include <atomic>
#include <functional>
#include <memory>

namespace korvel::platform {

class AVPlayerItem;

/// What a playback reports of itself: any thread, any number of times, at once and never waiting.
/// Each report is carried to the main queue in order; what changes nothing is dropped there.
class KORVEL_API MediaEvents : public SharedObject<MediaEvents> {
public:
    MediaEvents(std::weak_ptr<AVPlayerItem> item, std::weak_ptr<MainQueue> mainQueue);

    /// The first picture is there, and seeks and rates will be obeyed.
    void ready();
    /// Whether what is loaded ahead suffices to play on. Starts as not.
    void buffered(bool enough);
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
    std::atomic<bool> frameReported_ = false;
};

}  // namespace korvel::platform
