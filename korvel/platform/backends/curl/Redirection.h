#pragma once

#include <korvel/platform/foundation/NSError.h>
#include <korvel/platform/foundation/URLRequest.h>

#include <string>
#include <variant>

namespace korvel::platform {

/// A redirect is followed this often; the next one ends the exchange with an error.
inline constexpr int mostRedirects = 20;

/// Whether an answer with that status and a "Location" sends the client elsewhere.
bool isRedirect(int statusCode);

/// Whether the address is one that requests go to: http or https, with a host.
bool isWebAddress(const URL& url);

/// Scheme, host and port of such an address, as written but in lower case: requests with the same
/// text may share connections.
std::string serviceOf(const URL& url);

/// The request that follows a redirect to `location`, `followed` redirects having been followed
/// before; or why it is refused, as a transport failure.
///
/// A method that asked for a change becomes a GET where browsers have made it one; what the host
/// set for the old service stays there when the new address is another service. Nobody is sent from
/// https to http, where anyone on the way reads along, and no body to another service: it may hold
/// a password.
std::variant<URLRequest, NSError> redirection(const URLRequest& request, int statusCode,
                                              const std::string& location, int followed);

}  // namespace korvel::platform
