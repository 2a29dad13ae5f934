#pragma once

#include <korvel/platform/backends/curl/URLSessionCurl.h>
#include <korvel/platform/foundation/ResponseStream.h>

#include <memory>

namespace korvel::platform {

/// Streams on libcurl. Connections are reused: a stream takes over those of an earlier one. Of the
/// options, the largest body does not count here.
std::shared_ptr<StreamLoader> makeStreamLoaderCurl(const URLSessionCurlOptions& options);

}  // namespace korvel::platform
