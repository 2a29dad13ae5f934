#pragma once

#include <korvel/platform/avfoundation/MediaEvents.h>
#include <korvel/platform/backends/gstreamer/FrameSink.h>
#include <korvel/platform/backends/gstreamer/Handles.h>
#include <korvel/platform/backends/gstreamer/SoundSink.h>

#include <atomic>
#include <chrono>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

namespace korvel::platform::gst {

/// A pipeline's sinks, clock and states, and what it tells; what feeds it is added by its users.
///
/// Commands come from any thread, messages from the pipeline's own, on which no state may be
/// changed: such work goes to the pool, whose tasks keep this object until they are done.
class Pipeline : public std::enable_shared_from_this<Pipeline> {
public:
    struct Listener {
        /// All sinks have what they show at first. `isReady`: for the first time. No flush begins
        /// meanwhile.
        std::function<void(bool isReady)> prerolled;
        /// The first error, after which the pipeline is to be stopped. On the pool.
        std::function<void(const NSError&)> failed;
        /// How full the pipeline's queues are, if it has such; may stay empty.
        std::function<void(int percent)> buffering{};
    };
    static std::shared_ptr<Pipeline> make(std::shared_ptr<MediaEvents> events,
                                          const std::string& audioSink);
    Pipeline(std::shared_ptr<MediaEvents> events, std::string audioSink);
    ~Pipeline();
    Pipeline(const Pipeline&) = delete;
    Pipeline& operator=(const Pipeline&) = delete;

    /// Before anything is started.
    void setListener(Listener listener) { listener_ = std::move(listener); }
    GstBin* bin() const { return GST_BIN(element_.get()); }
    GstElement* element() const { return element_.get(); }
    /// The sink of that kind's decoded samples, made when first asked for, and its inlet.
    Ref<GstPad> pictureInlet();
    Ref<GstPad> soundInlet();

    /// To its first picture.
    void start();
    /// Ends all its threads. Nothing is told, and no command counts, afterwards.
    void close();
    void setPlaying(bool playing);
    void setVolume(double volume);

    /// Where the first picture is.
    void startAt(std::chrono::nanoseconds time) { from_ = time.count(); }
    /// Nothing counts as prerolled or as the position until `flushed`; from then on the position is
    /// `to` until all have prerolled again.
    void beginFlush(std::chrono::nanoseconds to);
    /// No thread is left that brings sinks, or tells of them, what they had.
    void flushed();
    /// Flushes that come by elements are seen at this inlet: once all of those watched have ended
    /// theirs, `flushed` holds.
    void watchFlushes(GstPad* inlet);
    /// Nothing is flushed after all.
    void abandonFlush();

    /// Of what is shown or sounds, or is going to.
    std::chrono::nanoseconds time() const;
    /// How long it has played since the last flush, whatever there was to show; nothing while it
    /// flushes.
    std::optional<std::chrono::nanoseconds> runningTime() const;
    std::shared_ptr<const VideoFrame> newestFrame() const;
    bool isReady() const { return ready_; }
    bool isClosed() const { return closed_; }

    /// Not after `close`.
    void onHelper(std::function<void(Pipeline&)> work);

private:
    void listen();
    void heard(GstMessage* message);
    void prerolled();
    void inletFlushes(GstPad* inlet, GstEvent* event);
    void stumbled(GstMessage* message);
    void chooseClock();
    void apply();

    const std::shared_ptr<MediaEvents> events_;
    const std::string audioSink_;
    Listener listener_;
    const Ref<GstElement> element_;

    std::mutex life_;  ///< held while the pipeline's state is changed
    std::atomic<bool> closed_ = false;
    std::atomic<bool> failed_ = false;
    bool started_ = false;
    bool playing_ = false;

    mutable std::mutex sinks_;  ///< guards the following
    std::unique_ptr<FrameSink> frames_;
    std::unique_ptr<SoundSink> sound_;
    double volume_ = 1;

    std::mutex flushing_;  ///< held while the following change
    std::atomic<bool> ready_ = false;
    std::atomic<bool> shows_ = false;  ///< what was last sought
    std::atomic<bool> isFlushed_ = true;
    std::vector<GstPad*> watched_;  ///< the elements'
    std::vector<GstPad*> awaited_;  ///< those of them that have not flushed yet
    std::atomic<std::int64_t> from_ = 0;
};

}  // namespace korvel::platform::gst
