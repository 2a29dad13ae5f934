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

/// Frees GLib's text.
inline std::string taken(gchar* text) {
    std::string copy = text ? text : "";
    g_free(text);
    return copy;
}

}  // namespace korvel::platform::gst
