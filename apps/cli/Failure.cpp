#include "Failure.h"

#include "Options.h"
#include "Text.h"

#include <korvel/model/KCSDKConsent.h>
#include <korvel/platform/foundation/JSONDecoder.h>
#include <korvel/platform/foundation/URLSession.h>

#include <cstdio>

namespace cli {

namespace {

using korvel::platform::URLErrorCode;
using Reason = korvel::Failure::Reason;

constexpr std::size_t longestMessage = 300;  // columns

/// Services word their refusals as an object with a message, proxies between as they like.
struct Refusal {
    std::optional<std::string> message;
    using JSON = korvel::platform::Members<&Refusal::message>;
};

std::string answered(const korvel::Failure& failure) {
    const auto refusal =
        korvel::platform::decodeJSON<Refusal>(korvel::platform::bytesOf(failure.message));
    const auto said = refusal && refusal->message ? *refusal->message : failure.message;
    const auto text = "the service answered " + std::to_string(failure.status);
    return said.empty() ? text : text + ": " + fitted(printable(said), longestMessage);
}

std::string connectionIn(const korvel::Failure& failure) {
    if (!failure.transport) return "the exchange ended without an answer";
    const auto& error = *failure.transport;
    const auto code = static_cast<URLErrorCode>(error.code);
    const auto* what = code == URLErrorCode::cannotFindHost        ? "the host was not found"
                       : code == URLErrorCode::cannotConnectToHost ? "the connection was refused"
                       : code == URLErrorCode::timedOut            ? "the connection timed out"
                                                                   : "the connection was lost";
    if (failure.reason != Reason::untrusted) return std::string(what) + ": " + reasonIn(error);
    return "the service is not trusted (--ca FILE names its authority): " + reasonIn(error);
}

std::string misunderstood(const korvel::Failure& failure) {
    const auto place = failure.member.empty() ? "" : failure.member + ": ";
    return "the answer is not understood: " +
           (failure.transport ? reasonIn(*failure.transport) : place + failure.detail);
}

std::string consentIn(const korvel::Failure& failure) {
    if (!failure.consent) return "a consent is required (\"korvel consent\" shows which)";
    return "the consent to '" + fitted(printable(failure.consent->title), longestMessage) +
           "' is required (\"korvel accept " + printable(failure.consent->consentTag) +
           "\" gives it)";
}

std::string within(double seconds) {
    char text[64];
    std::snprintf(text, sizeof text, " within %g s (--timeout SECONDS waits longer)", seconds);
    return text;
}

constexpr ExitCodeMeaning meanings[] = {
    {ExitCode::ok, "done"},
    {ExitCode::failed, "a fault of this machine: the data folder, standard output"},
    {ExitCode::usage, "the command line or the profile is wrong"},
    {ExitCode::rejected, "the service refused: its status and message are shown"},
    {ExitCode::noAnswer, "no answer within --timeout"},
    {ExitCode::noConnection, "no connection, or it broke"},
    {ExitCode::notUnderstood, "the service's answer is not understood"},
    {ExitCode::notLoggedIn,
     "not logged in: no user was named, or the service did not take this one"},
    {ExitCode::badAddress, "the address is missing or no absolute one"},
    {ExitCode::notFound, "the service knows no such class"},
    {ExitCode::consentRequired, "the user must give a consent first; the message names it"},
    {ExitCode::subscriptionRequired, "the user needs a subscription"},
    {ExitCode::streamFailed, "the stream failed, or its content key was refused"},
    {ExitCode::interrupted, "interrupted"},
};

}  // namespace

std::span<const ExitCodeMeaning> exitCodes() { return meanings; }

std::string reasonIn(const korvel::NSError& error) {
    const auto* reason = error.text("NSLocalizedFailureReason");
    if (!reason) reason = error.text("NSLocalizedDescription");
    return reason ? fitted(printable(*reason), longestMessage) : error.description();
}

Failure badAddress(const std::string& address) {
    return {ExitCode::badAddress, "not an absolute address: '" + address + "'"};
}

Failure failureOf(const korvel::Failure& failure, const Options& options) {
    const auto because = [&](ExitCode code, const std::string& text) {
        const bool came = failure.status != 0;
        return Failure(code, text,
                       came ? std::optional<std::int64_t>(failure.status) : std::nullopt);
    };
    switch (failure.reason) {
        case Reason::unusableBaseURL:
            return badAddress(options.url);
        case Reason::timedOut:
            if (failure.transport) break;
            return because(ExitCode::noAnswer,
                           "no answer from " + options.url + within(options.timeout));
        case Reason::keyUnanswered:
        case Reason::stalled:
            return because(ExitCode::noAnswer,
                           "stream or content key did not come" + within(options.timeout));
        case Reason::unreachable:
        case Reason::untrusted:
        case Reason::noAnswer:
            break;
        case Reason::notUnderstood:
            return because(ExitCode::notUnderstood, misunderstood(failure));
        case Reason::refused:
        case Reason::loggedOut:
        case Reason::notFound:
            return because(ExitCode::rejected, answered(failure));
        case Reason::subscriptionRequired:
            return because(ExitCode::subscriptionRequired,
                           answered(failure) + " (\"korvel subscribe ID\" starts a subscription)");
        case Reason::consentRequired:
            return because(ExitCode::consentRequired, consentIn(failure));
        default:
            return because(ExitCode::streamFailed,
                           "the stream failed: " + (failure.transport ? reasonIn(*failure.transport)
                                                                      : failure.description()));
    }
    return because(ExitCode::noConnection, connectionIn(failure));
}

}  // namespace cli
