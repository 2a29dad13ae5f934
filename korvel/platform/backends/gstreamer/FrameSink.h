#pragma once

#include <korvel/platform/avfoundation/VideoFrame.h>
#include <korvel/platform/backends/gstreamer/Handles.h>

#include <functional>
#include <memory>

namespace korvel::platform::gst {

/// The end of a pipeline's pictures: keeps the one of the moment.
class FrameSink {
public:
    /// `frameChanged`: on the pipeline's thread.
    FrameSink(GstBin* bin, std::function<void()> frameChanged);

    /// Where decoded pictures go.
    Ref<GstPad> inlet() const;
    GstElement* element() const { return sink_; }
    std::shared_ptr<const VideoFrame> newest() const;

private:
    struct State;
    const std::shared_ptr<State> state_;  ///< the element's callbacks', too
    GstElement* convert_ = nullptr;
    GstElement* sink_ = nullptr;  ///< both the bin's
};

}  // namespace korvel::platform::gst
