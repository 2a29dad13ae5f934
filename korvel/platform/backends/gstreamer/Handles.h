#pragma once

#include <gst/gst.h>

#include <memory>
#include <string>

namespace korvel::platform::gst {

struct Unref {
    void operator()(gpointer object) const { gst_object_unref(object); }
};
/// A GStreamer object of our own reference.
template <class Object> using Ref = std::unique_ptr<Object, Unref>;

struct UnrefCaps {
    void operator()(GstCaps* caps) const { gst_caps_unref(caps); }
};
using Caps = std::unique_ptr<GstCaps, UnrefCaps>;

/// A new element of that factory, of our own reference; null if there is none.
inline Ref<GstElement> makeElement(const char* factory) {
    GstElement* made = gst_element_factory_make(factory, nullptr);
    return Ref<GstElement>(made ? GST_ELEMENT(gst_object_ref_sink(made)) : nullptr);
}

/// Frees GLib's text.
inline std::string taken(gchar* text) {
    std::string copy = text ? text : "";
    g_free(text);
    return copy;
}

/// Holds up changes of an element's state, those that a pipeline makes by itself on its own threads
/// included.
class StateLock {
public:
    explicit StateLock(GstElement* element) : element_(element) { GST_STATE_LOCK(element_); }
    ~StateLock() { GST_STATE_UNLOCK(element_); }
    StateLock(const StateLock&) = delete;
    StateLock& operator=(const StateLock&) = delete;

private:
    GstElement* const element_;
};

}  // namespace korvel::platform::gst
