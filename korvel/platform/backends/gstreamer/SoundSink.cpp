#include <korvel/platform/backends/gstreamer/SoundSink.h>

namespace korvel::platform::gst {

SoundSink::SoundSink(GstBin* bin, const std::string& sink) {
    GstElement* last = nullptr;
    const auto append = [&](const char* factory) {
        GstElement* element = gst_element_factory_make(factory, nullptr);
        if (!element) return element;
        gst_bin_add(bin, element);
        if (last) gst_element_link(last, element);
        if (!first_) first_ = element;
        return last = element;
    };
    append("audioconvert");
    append("scaletempo");
    append("audioresample");
    volume_ = append("volume");
    sink_ = append(sink.c_str());
    // Like a device it sounds in its time.
    if (sink == "fakesink") g_object_set(sink_, "sync", TRUE, nullptr);
}

Ref<GstPad> SoundSink::inlet() const {
    return Ref<GstPad>(gst_element_get_static_pad(first_, "sink"));
}

void SoundSink::setVolume(double volume) { g_object_set(volume_, "volume", volume, nullptr); }

}  // namespace korvel::platform::gst
