#pragma once

#include <korvel/platform/foundation/Export.h>
#include <korvel/platform/foundation/URLSession.h>
#include <korvel/platform/security/Keychain.h>

#include <cstdint>
#include <string>

namespace korvel::platform {

/// Answers "why did nothing come back?" for a host's engineer. Optional, and outside the SDK's
/// contract: what it is told changes nothing. Called on background threads and on the caller's;
/// must not block.
class KORVEL_API Diagnostics {
public:
    using RequestId = std::uint64_t;  ///< unique in the process

    virtual ~Diagnostics();
    /// Any thread.
    static RequestId newRequestId();

    /// Also the request for a content key, which goes to a server of its own; those for a stream's
    /// pictures and sound are the media engine's, and not told.
    virtual void requestStarted(RequestId id, const URLRequest& request);
    /// `exchange` tells status, timing, sizes, reuse and transport error.
    virtual void requestEnded(RequestId id, const Exchange& exchange);
    /// The answer was no `record`; `path` names the offending member, such as
    /// "items[3].durationSecond".
    virtual void decodingFailed(RequestId id, const std::string& record, const std::string& path,
                                const std::string& reason);
    /// The keychain refused, with the status given, to forget or to store a secret: `account`, or
    /// all of them if that is empty. What was stored before may still count.
    virtual void keychainFailed(const std::string& account, OSStatus status);
};

}  // namespace korvel::platform
