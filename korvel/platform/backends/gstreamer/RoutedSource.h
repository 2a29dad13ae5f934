#pragma once

#include <korvel/platform/backends/gstreamer/Route.h>

#include <gst/gst.h>

#include <memory>

namespace korvel::platform::gst {

/// Makes GStreamer know the source element of routed addresses. Any thread; once is enough.
bool registerRoutedSource();

/// Given to a pipeline before it starts, it leads what its sources ask for to `route`.
GstContext* makeRouteContext(std::shared_ptr<Route> route);

}  // namespace korvel::platform::gst
