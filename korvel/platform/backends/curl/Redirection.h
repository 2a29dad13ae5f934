#pragma once

#include <korvel/platform/foundation/URLRequest.h>

#include <optional>

namespace korvel::platform {

/// A redirect is followed this often; the next one ends the exchange with an error.
inline constexpr int mostRedirects = 20;

/// Whether an answer with that status and a "Location" sends the client elsewhere.
bool isRedirect(int statusCode);

/// Whether the address is one that requests go to: http or https, with a host.
bool isWebAddress(const URL& url);

/// The request that follows a redirect to `target`. A method that asked for a change becomes a GET
/// where browsers have made it one; what the host set for the old service stays there when the new
/// address has another scheme, host or port.
URLRequest redirected(const URLRequest& request, int statusCode, const URL& target);

}  // namespace korvel::platform
