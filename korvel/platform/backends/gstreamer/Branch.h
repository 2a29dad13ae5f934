#pragma once

#include <korvel/platform/backends/gstreamer/Feed.h>
#include <korvel/platform/backends/gstreamer/Handles.h>
#include <korvel/platform/backends/gstreamer/Pace.h>
#include <korvel/platform/hls/Media.h>

#include <functional>
#include <memory>
#include <mutex>
#include <optional>

namespace korvel::platform::gst {

/// The road of one kind of samples: feed, parser and decoder. Where the coding changes, and at each
/// discontinuity, parser and decoder give out what they hold and are replaced, all on the feed's
/// thread, in between two samples.
class Branch {
public:
    struct Listener {
        std::function<void(std::size_t bytes)> taken;  ///< a sample has left the queue
        std::function<void()> starved;
        std::function<void(std::string caps)> undecodable;  ///< samples that nothing decodes
    };
    /// `outlet`: where decoded samples go, a pad within `bin`.
    Branch(hls::Kind kind, GstBin* bin, Ref<GstPad> outlet, Pace& pace, Listener listener);
    ~Branch();
    Branch(const Branch&) = delete;
    Branch& operator=(const Branch&) = delete;

    Feed& feed() { return feed_; }
    /// All on its way is given up; then, with the feed's thread standing still, what comes next
    /// belongs to nothing that came.
    void startFlush();
    void settle() { feed_.settle(); }
    void stopFlush();
    /// From now on nothing is built; the bin may be taken down.
    void close();

private:
    // The feed's thread.
    bool pass(Item item);
    bool passSample(hls::Sample sample);
    bool passEnd();
    void take(const std::shared_ptr<const hls::Format>& format);
    bool prepare(std::chrono::nanoseconds time);
    void announce();
    void drain();
    bool build();
    void removeElements();

    const hls::Kind kind_;
    GstBin* const bin_;
    const Ref<GstPad> outlet_;
    Pace& pace_;
    const Listener listener_;

    std::mutex life_;  ///< held while elements are replaced
    bool closed_ = false;

    Ref<GstElement> parser_;
    Ref<GstElement> decoder_;
    Caps caps_;
    Caps built_;  ///< what parser and decoder were made for
    std::chrono::nanoseconds from_{};
    unsigned piece_ = 0;  ///< of the segment that the elements have
    bool isStarted_ = false;
    bool capsAreDue_ = false;
    bool segmentIsDue_ = true;
    bool renewalIsDue_ = false;
    bool hasSamples_ = false;  ///< since the elements were made or flushed
    bool isFresh_ = true;      ///< no sample since a flush
    bool isDumb_ = false;      ///< nothing decodes these samples: they are thrown away

    Feed feed_;
};

}  // namespace korvel::platform::gst
