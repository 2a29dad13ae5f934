#pragma once

#include <korvel/network/Outcome.h>
#include <korvel/platform/foundation/Console.h>
#include <korvel/platform/foundation/URLSession.h>

namespace korvel {

/// What a finished exchange comes to before anything is decoded.
using Verdict = Outcome<platform::Data>;

/// Any thread. Writes the exchange's console line ("error", or "statusCode: " and the status) and
/// does nothing else. 200 and 201 carry a payload; any other status is a failure. Of an answer that
/// was too long to take the status counts, and its bytes are none.
Verdict judge(platform::Exchange exchange, platform::Console& console);

/// The same for the log-in, whose status the service does not mean: any body is a payload, none is
/// a failure, and the status is only written when there was a body.
Verdict judgeLogin(platform::Exchange exchange, platform::Console& console);

}  // namespace korvel
