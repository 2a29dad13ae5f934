#pragma once

#include <korvel/network/APIEndpoint.h>
#include <korvel/network/Conduct.h>
#include <korvel/network/RecordName.h>
#include <korvel/network/Verdict.h>
#include <korvel/platform/Device.h>
#include <korvel/platform/foundation/JSONDecoder.h>

#include <functional>
#include <memory>
#include <optional>
#include <string>

namespace korvel {

class KCSDKUser;

/// Turns an endpoint into one exchange, or as many as its conduct allows, and their end into a
/// verdict. Keeps no state between calls; any thread. Handlers run on the session's background
/// threads, exactly once per operation that ends, and are destroyed right after; they keep the
/// parts they need alive, not this object.
class RequestExecution {
public:
    /// Of which exchange: its identifier for the diagnostics, the answer's status, or 0, and
    /// whether its bytes were too many to take.
    struct Ended {
        platform::Diagnostics::RequestId id;
        int status;
        bool isTooLong;
    };
    using VerdictHandler = std::function<void(Verdict, Ended)>;
    using Conducting = std::shared_ptr<Conduct>;

    explicit RequestExecution(const platform::Device& device);

    /// Every endpoint but the log-in: `path` is resolved against the base as a relative address,
    /// and if that yields none, the base itself is asked.
    void performDataTask(const APIEndpoint& endpoint, VerdictHandler handler,
                         const Conducting& conduct) const;
    /// The log-in: `path` is appended to the base, the form is uploaded.
    void performUpload(const APIEndpoint& endpoint, const std::string& boundary,
                       VerdictHandler handler, const Conducting& conduct) const;

    /// A handler that decodes the payload and calls `done(Outcome<Result>)` once. What is no
    /// `Result`, or longer than the device takes, is told to the diagnostics, too.
    template <class Result, class Handler> VerdictHandler decoding(Handler done) const {
        return [diagnostics = diagnostics_, largest = largestAnswer_, done = std::move(done)](
                   Verdict verdict, Ended ended) {
            if (!verdict) return done(Outcome<Result>(std::move(verdict.failure())));
            platform::DecodingError error;
            std::optional<Result> result;
            if (fits(*verdict, ended, largest, error)) {
                result = platform::decodeJSON<Result>(std::move(*verdict), &error);
            }
            if (result) return done(Outcome<Result>(std::move(*result)));
            done(Outcome<Result>(
                notUnderstood(ended, recordName<Result>(), std::move(error), diagnostics.get())));
        };
    }

    /// The same for the log-in: a refusal, too, counts if it holds a user, and what holds none is
    /// the failure that the status says.
    template <class Handler> VerdictHandler decodingUser(Handler done) const {
        using User = std::shared_ptr<KCSDKUser>;
        return [diagnostics = diagnostics_, largest = largestAnswer_, done = std::move(done)](
                   Verdict verdict, Ended ended) {
            if (!verdict) return done(Outcome<User>(std::move(verdict.failure())));
            platform::DecodingError error;
            std::optional<User> user;
            if (fits(*verdict, ended, largest, error)) {
                user = platform::decodeJSON<User>(*verdict, &error);
            }
            if (user) return done(Outcome<User>(std::move(*user)));
            auto failure =
                notUnderstood(ended, recordName<User>(), std::move(error), diagnostics.get());
            done(Outcome<User>(refusalOfLogIn(std::move(failure), std::move(*verdict))));
        };
    }

private:
    using Judge = Verdict (*)(platform::Exchange, platform::Console&);
    struct Sending;
    static bool fits(const platform::Data& body, Ended ended, std::size_t largest,
                     platform::DecodingError& error);
    static Failure notUnderstood(Ended ended, std::string record, platform::DecodingError error,
                                 platform::Diagnostics* diagnostics);
    static Failure refusalOfLogIn(Failure undecoded, platform::Data body);
    void send(platform::URLRequest request, Judge judgement, VerdictHandler handler,
              const Conducting& conduct) const;
    std::string acceptLanguage() const;

    std::shared_ptr<platform::URLSession> session_;
    std::shared_ptr<platform::Locale> locale_;
    std::shared_ptr<platform::Console> console_;
    std::shared_ptr<platform::Diagnostics> diagnostics_;
    std::size_t largestAnswer_;
};

}  // namespace korvel
