#pragma once

#include <korvel/platform/foundation/Data.h>
#include <korvel/platform/foundation/Export.h>
#include <korvel/platform/foundation/NSError.h>

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace korvel {

class KCSDKConsent;

/// Why an operation came to nothing: all that is known of it, as a value. `reason` is what programs
/// branch on; which of the other members are filled depends on it.
struct KORVEL_API Failure {
    enum class Reason {
        notInitialised,   ///< there is no configuration: `KCSDK::initialize` has not run
        unusableBaseURL,  ///< the configuration's base URL is no absolute address; nothing was sent
        missingArgument,  ///< a null record was given; nothing was sent
        unreachable,      ///< no such name, no connection, or it was lost: `transport` tells
        untrusted,        ///< the TLS handshake or the certificate; `transport` tells
        timedOut,         ///< the deadline, or 60 s without progress
        cancelled,        ///< by the host, or because client or process ended first
        noAnswer,         ///< the transport ended with neither answer nor error
        refused,          ///< by any other status; `message` has the service's words
        loggedOut,        ///< 401: who asked is not, or no longer, logged in
        subscriptionRequired,  ///< 403 at the start of a class
        consentRequired,       ///< 601; `consent` holds the document if the service sent one
        notFound,              ///< 404, or a list without the one that was asked for
        notUnderstood,         ///< an answer that is no such record: `record`, `member`, `detail`
        playlistFailed,        ///< of a stream, as the next five: it cannot be had, or is broken
        segmentFailed,         ///< the same of its media; `transport` tells, as of all of these
        undecodable,           ///< the decoder gave up
        unsupported,           ///< no decoder for it, or encrypted in a way that cannot be opened
        unplayable,            ///< for any other reason
        keyRefused,            ///< the content key, or the token for it: `status` if it was told
        keyUnanswered,         ///< the content key did not come within its deadline
        stalled,               ///< the stream brought nothing for as long as was allowed
    };

    Reason reason = Reason::noAnswer;
    int status = 0;            ///< of the service's answer; 0: none was understood to have come
    std::string message = {};  ///< what the service said, or "na" if that is not UTF-8
    /// The service's bytes; absent if the transport delivered no body object.
    std::optional<platform::Data> body = {};
    std::shared_ptr<KCSDKConsent> consent = {};
    std::string record = {};  ///< such as "KCSDKOndemandClassResponse"
    std::string member = {};  ///< the path in the answer, such as "items[3].durationSecond"
    std::string detail = {};  ///< what is wrong there
    std::optional<NSError> transport = {};  ///< the device's own words, with its code
    /// Of a performance: it waits in the client's outbox, and is sent again.
    bool isKept = false;

    /// Whether the same request may succeed in a moment: the network's failures, and the service's
    /// "busy" (408, 429, 502, 503, 504).
    bool isTransient() const;
    /// One line of English for engineers and logs.
    std::string description() const;
};

/// "timedOut": the enumerator's name.
KORVEL_API std::string_view nameOf(Failure::Reason reason);

/// A failure of which nothing else is known.
Failure failureFor(Failure::Reason reason);
/// What a request that the transport could not bring to an answer came to.
Failure failureOfTransport(NSError error);
/// What an answer with a status other than 200 and 201 means; of a 601 the document is read.
Failure failureOfStatus(int status, std::optional<platform::Data> body);

}  // namespace korvel
