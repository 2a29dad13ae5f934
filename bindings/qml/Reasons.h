#pragma once

#include <korvel/platform/foundation/NSError.h>

#include <QString>

namespace korvel::qml {

// Why a question was not answered as it should be, in words for the user.

/// Of an error that a completion brought.
QString reason(const NSError& error);
/// Of a transport that failed, which completions do not tell.
QString reasonOfLoss(const NSError& error);
QString reasonOfSilence(int milliseconds);
QString reasonUndecodable(const QString& what);
/// The HTTP status of a refusal; 0 for other errors.
int statusOf(const NSError& error);

}  // namespace korvel::qml
