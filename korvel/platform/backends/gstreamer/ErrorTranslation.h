#pragma once

#include <korvel/platform/foundation/NSError.h>

#include <gst/gst.h>

namespace korvel::platform::gst {

/// What an ERROR message tells, with the element's own words as "debug".
NSError errorOf(GstMessage* message);

}  // namespace korvel::platform::gst
