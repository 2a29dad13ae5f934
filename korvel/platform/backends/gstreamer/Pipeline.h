#pragma once

#include <korvel/platform/avfoundation/MediaEngine.h>
#include <korvel/platform/backends/gstreamer/FrameSink.h>
#include <korvel/platform/backends/gstreamer/Handles.h>
#include <korvel/platform/backends/gstreamer/Route.h>

#include <atomic>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>

namespace korvel::platform::gst {

/// A playbin and what it tells. Commands come from the main queue; messages from the pipeline's own
/// threads, on which no state may be changed: such work goes to the pool, whose tasks
/// keep this object until it is done. `close` ends everything for those who gave commands.
class Pipeline : public std::enable_shared_from_this<Pipeline> {
public:
    static std::shared_ptr<Pipeline> open(const URL& url, std::shared_ptr<StreamLoader> loader,
                                          std::shared_ptr<AVAssetResourceLoader> keys,
                                          std::shared_ptr<MediaEvents> events,
                                          const std::string& audioSink);
    explicit Pipeline(std::shared_ptr<MediaEvents> events);
    ~Pipeline();
    Pipeline(const Pipeline&) = delete;
    Pipeline& operator=(const Pipeline&) = delete;

    void close();
    void setRate(double rate);
    void seek(std::chrono::nanoseconds to);
    std::optional<std::chrono::nanoseconds> position() const;
    std::optional<std::chrono::nanoseconds> duration() const;
    std::shared_ptr<const VideoFrame> newestFrame() const { return frames_->newest(); }

private:
    void build(const URL& url, const std::string& audioSink);
    void lead(std::shared_ptr<StreamLoader> loader, std::shared_ptr<AVAssetResourceLoader> keys);
    void listen();
    void start();
    std::int64_t within(std::chrono::nanoseconds time) const;
    void onHelper(std::function<void(Pipeline&)> work);

    // The pipeline's threads.
    void heard(GstMessage* message);
    void prerolled();
    void buffering(GstMessage* message);
    void stumbled(GstMessage* message);
    void fail(const NSError& error);

    /// What has come over the line and out of the decoder, and what of it has been played.
    struct Progress {
        std::uint64_t portions = 0;
        std::uint64_t pictures = 0;
        std::optional<std::chrono::nanoseconds> position;
        bool operator==(const Progress&) const = default;
    };
    Progress progress() const;
    struct Vigil {
        Progress last;
        int idleTicks = 0;
        int limit = 1;  ///< of these while seeking; thrice as many while playing
    };

    // Helper threads.
    void readDuration();  ///< not from a message: the demuxer waits for who heard it
    bool isDue() const;
    void watch();
    void keep(Vigil vigil);
    void reload();
    void resume();
    void go(std::chrono::nanoseconds to);
    bool jump(std::chrono::nanoseconds to, double rate);
    void changeRate(double rate);
    void goOn();
    void adapt();
    void chooseClock();

    const std::shared_ptr<MediaEvents> events_;
    std::shared_ptr<Route> route_;
    std::unique_ptr<FrameSink> frames_;
    Ref<GstElement> playbin_;

    std::mutex
        life_;  ///< held while a helper thread sets it going, so that it is not after `close`
    std::atomic<bool> closed_ = false;
    std::atomic<bool> failed_ = false;
    std::atomic<bool> stopped_ = false;  ///< by the first error

    std::atomic<std::int64_t> duration_ = -1;
    std::atomic<bool> ready_ = false;
    std::atomic<bool> buffering_ = false;  ///< a message has said so and none has taken it back
    std::atomic<bool> adapts_ = false;     ///< the demuxer chooses the variant
    std::atomic<bool> playing_ = false;
    std::atomic<bool> seeking_ = false;
    std::atomic<bool> isInstant_ = false;  ///< the rate, changed without a seek
    std::atomic<bool> reloading_ = false;  ///< until it is where it was
    std::atomic<bool> ended_ = false;
    std::atomic<bool> watching_ = false;
    std::atomic<bool> flushed_ = false;   ///< by the seek in progress
    std::atomic<std::int64_t> from_ = 0;  ///< where the last seek went: nothing earlier is shown
    std::atomic<double> rate_ = 1;        ///< of the pipeline's clock, also while paused
};

}  // namespace korvel::platform::gst
