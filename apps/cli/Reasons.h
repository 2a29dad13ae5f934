#pragma once

#include "Failure.h"
#include "RequestObserver.h"

#include <korvel/platform/foundation/NSError.h>

#include <string>

namespace cli {

// Why an operation ended without a value, in words for the person at the keyboard.

/// Whether the service's status says yes.
bool isAccepted(const RequestReport& report);

Failure interrupted();
Failure noAnswer(const RequestReport& report, double seconds);
Failure noConnection(const korvel::NSError& error);
Failure notUnderstood(const RequestReport& report);
Failure notLoggedIn(const RequestReport& report, const std::string& user);
Failure rejected(const RequestReport& report);
/// An error that a completion brought: the service's, or that of an unusable address.
Failure refusal(const korvel::NSError& error, const std::string& url);

// Of playing a class.

Failure noPlayer(const korvel::NSError& error);
Failure streamFailed(const korvel::NSError& error);
/// `began`: it had pictures before.
Failure streamSilent(bool began, double seconds);
/// The class was played, but for this the service does not know.
Failure notRecorded(const Failure& reason);

}  // namespace cli
