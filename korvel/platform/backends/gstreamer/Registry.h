#pragma once

#include <korvel/platform/backends/gstreamer/Handles.h>

namespace korvel::platform::gst {

/// What brings coded samples of `caps` into the form that decoders take; null if there is none.
Ref<GstElement> makeParser(const GstCaps* caps);

/// The decoder of the highest rank that takes such samples and is fit to work here and now: a
/// machine's own ones come first, and are passed over where their device is missing or busy. In
/// state READY; null if there is none.
Ref<GstElement> makeDecoder(const GstCaps* caps);

}  // namespace korvel::platform::gst
