#pragma once

#include <korvel/network/APIEndpoint.h>
#include <korvel/network/RecordName.h>
#include <korvel/network/Verdict.h>
#include <korvel/platform/Diagnostics.h>
#include <korvel/platform/foundation/JSONDecoder.h>
#include <korvel/platform/foundation/Locale.h>
#include <korvel/platform/foundation/URLSession.h>

#include <functional>
#include <memory>
#include <optional>
#include <string>

namespace korvel {

/// Turns an endpoint into one exchange and its end into a verdict. Keeps no state between calls;
/// any thread. Handlers run on the session's background threads, exactly once per exchange that
/// ends, and are destroyed right after; they keep the parts they need alive, not this object.
class RequestExecution {
public:
    using RequestId = platform::Diagnostics::RequestId;
    using VerdictHandler = std::function<void(Verdict, RequestId)>;

    RequestExecution(std::shared_ptr<platform::URLSession> session,
                     std::shared_ptr<platform::Locale> locale,
                     std::shared_ptr<platform::Console> console,
                     std::shared_ptr<platform::Diagnostics> diagnostics);

    /// Every endpoint but the log-in: `path` is resolved against the base as a relative address,
    /// and if that yields none, the base itself is asked.
    void performDataTask(const APIEndpoint& endpoint, VerdictHandler handler) const;
    /// The log-in: `path` is appended to the base, the form is uploaded.
    void performUpload(const APIEndpoint& endpoint, const std::string& boundary,
                       VerdictHandler handler) const;

    /// A handler that decodes the payload and calls `done(std::optional<Result>,
    /// std::optional<NSError>)` at most once: both absent for a payload that is no `Result`, which
    /// only the diagnostics learn.
    template <class Result, class Done> VerdictHandler decoding(Done done) const {
        return [diagnostics = diagnostics_, done = std::move(done)](Verdict verdict, RequestId id) {
            if (auto* rejection = std::get_if<Rejection>(&verdict)) {
                done(std::optional<Result>(), std::move(rejection->error));
            } else if (auto* payload = std::get_if<Payload>(&verdict)) {
                platform::DecodingError error;
                auto result = platform::decodeJSON<Result>(std::move(payload->body), &error);
                if (!result && diagnostics) {
                    diagnostics->decodingFailed(id, recordName<Result>(), error.path, error.reason);
                }
                done(std::move(result), std::optional<NSError>());
            }
        };
    }

private:
    using Judge = Verdict (*)(platform::Exchange, platform::Console&);
    platform::URLSession::CompletionHandler completionHandler(RequestId id, Judge judgement,
                                                              VerdictHandler handler) const;
    RequestId announce(const platform::URLRequest& request) const;
    std::string acceptLanguage() const;

    std::shared_ptr<platform::URLSession> session_;
    std::shared_ptr<platform::Locale> locale_;
    std::shared_ptr<platform::Console> console_;
    std::shared_ptr<platform::Diagnostics> diagnostics_;
};

}  // namespace korvel
