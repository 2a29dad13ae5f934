#pragma once

#include <korvel/platform/backends/gstreamer/Handles.h>

#include <string>

namespace korvel::platform::gst {

/// The end of a pipeline's sound: any rate at its own pitch, a volume, and the device.
class SoundSink {
public:
    /// `sink`: the device's element.
    SoundSink(GstBin* bin, const std::string& sink);

    /// Where decoded sound goes.
    Ref<GstPad> inlet() const;
    GstElement* element() const { return sink_; }
    /// From 0 to 1. Any thread.
    void setVolume(double volume);

private:
    GstElement* first_ = nullptr;
    GstElement* volume_ = nullptr;
    GstElement* sink_ = nullptr;  ///< all the bin's
};

}  // namespace korvel::platform::gst
