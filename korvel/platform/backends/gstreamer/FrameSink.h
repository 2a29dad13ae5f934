#pragma once

#include <korvel/platform/avfoundation/VideoFrame.h>
#include <korvel/platform/backends/gstreamer/Handles.h>

#include <functional>
#include <memory>
#include <mutex>

namespace korvel::platform::gst {

/// The end of a pipeline's video: keeps the picture of the moment.
class FrameSink {
public:
    struct Listener {
        std::function<void()> frameChanged;  ///< streaming thread
        std::function<void()> flushed;       ///< a seek has thrown away what was on its way
    };
    explicit FrameSink(Listener listener);

    /// For the pipeline; its callbacks keep what they need beyond this object.
    GstElement* element() const { return element_.get(); }
    std::shared_ptr<const VideoFrame> newest() const;
    /// How many pictures have come, those included that are not shown.
    std::uint64_t count() const;
    /// How late the first picture came on the pipeline's time line. Transport streams begin with a
    /// clock that runs ahead of their pictures, by an eighth of a second and more; to a host the
    /// first picture is at zero. Zero until there is one.
    std::chrono::nanoseconds origin() const;

    /// After the seek that follows, pictures that end by then are not shown, however early it
    /// lands.
    void showFrom(std::chrono::nanoseconds time);
    /// Until the seek that follows, the picture stays, whatever comes.
    void keepPicture();

private:
    struct State;
    const std::shared_ptr<State> state_;
    const Ref<GstElement> element_;
};

}  // namespace korvel::platform::gst
