#pragma once

#include <korvel/platform/foundation/Console.h>
#include <korvel/platform/foundation/NSError.h>
#include <korvel/platform/foundation/URLSession.h>

#include <optional>
#include <variant>

namespace korvel {

/// What a finished exchange means to the host. Silence is required behaviour, not an oversight:
/// hosts treat "no answer" as "still offline", so a transport error never completes.
struct Silence {};
struct Rejection {
    std::optional<NSError> error;  ///< absent if the transport delivered no body object
};
struct Payload {
    platform::Data body;
};
using Verdict = std::variant<Silence, Rejection, Payload>;

/// Any thread. Writes the exchange's console line ("error", or "statusCode: " and the status) and
/// does nothing else. 200 and 201 carry a payload; any other status is an error of domain "SDK"
/// with the status as code, the body bytes as "data" and their text, or "na", as "message".
Verdict judge(platform::Exchange exchange, platform::Console& console);

/// The same for the log-in, whose status the service does not mean: any body is a payload, none is
/// silence, and the status is only written when there was a body.
Verdict judgeLogin(platform::Exchange exchange, platform::Console& console);

}  // namespace korvel
