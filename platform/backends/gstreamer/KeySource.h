#pragma once

#include <korvel/platform/backends/gstreamer/KeyRoute.h>

#include <gst/gst.h>

#include <memory>
#include <string>

namespace korvel::platform::gst {

/// Makes this process's demuxers ask us for keys whose address has that scheme, for good. Any
/// thread. False if that is not for us: somebody loads addresses of that scheme already.
bool registerKeyScheme(const std::string& scheme);

/// Given to a pipeline before it starts, it leads the key requests of its demuxers to `route`.
GstContext* makeKeyContext(std::shared_ptr<KeyRoute> route);

}  // namespace korvel::platform::gst
