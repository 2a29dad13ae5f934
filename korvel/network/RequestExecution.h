#pragma once

#include <korvel/network/APIEndpoint.h>
#include <korvel/network/Boxed.h>
#include <korvel/network/Conduct.h>
#include <korvel/network/RecordName.h>
#include <korvel/network/Verdict.h>
#include <korvel/platform/Device.h>
#include <korvel/platform/foundation/JSONDecoder.h>

#include <functional>
#include <memory>
#include <string>
#include <utility>

namespace korvel {

template <class Result> Box readBoxed(platform::Data body, platform::DecodingError& error) {
    auto result = platform::decodeJSON<Result>(std::move(body), &error);
    return result ? Boxed<Result>::of(std::move(*result)) : nullptr;
}

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

    /// A kind of answer: what is read of a body (null, and why, if that is something else), and by
    /// what name the diagnostics know it.
    struct Answer {
        Box (*read)(platform::Data body, platform::DecodingError& error);
        std::string (*name)();
    };
    template <class Result>
    static constexpr Answer answerWith{&readBoxed<Result>, &recordName<Result>};

    /// A handler that reads the payload and calls `done` once. What is no such answer, or longer
    /// than the device takes, is told to the diagnostics, too.
    VerdictHandler decoding(const Answer& answer, BoxHandler done) const;
    /// The same for the log-in: a refusal, too, counts if it holds a user, and what holds none is
    /// the failure that the status says.
    VerdictHandler decodingUser(BoxHandler done) const;

private:
    using Judge = Verdict (*)(platform::Exchange, platform::Console&);
    struct Sending;
    struct Reading;
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
