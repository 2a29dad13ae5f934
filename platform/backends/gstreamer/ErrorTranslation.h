#pragma once

#include <korvel/platform/foundation/NSError.h>

#include <gst/gst.h>

namespace korvel::platform::gst {

/// What an ERROR message tells, with the element's own words as "debug".
NSError errorOf(GstMessage* message);
/// Whether the stream's own bytes are to blame, rather than the way to them.
bool blamesContent(GstMessage* message);

}  // namespace korvel::platform::gst
