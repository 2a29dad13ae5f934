#include "Reasons.h"

#include "Text.h"

#include <korvel/model/KCSDKConsent.h>
#include <korvel/platform/foundation/JSONDecoder.h>
#include <korvel/platform/foundation/URLSession.h>

#include <cstdio>
#include <optional>

namespace cli {

namespace {

using korvel::platform::URLErrorCode;

constexpr std::size_t longestMessage = 300;  // columns

/// Services word their refusals as an object with a message, proxies between as they like.
struct Refusal {
    std::optional<std::string> message;
    using JSON = korvel::platform::Members<&Refusal::message>;
};

std::string messageIn(const std::string& body) {
    const auto refusal = korvel::platform::decodeJSON<Refusal>(korvel::platform::bytesOf(body));
    const auto text = refusal && refusal->message ? *refusal->message : body;
    return fitted(printable(text), longestMessage);
}

std::string answered(std::int64_t status, const std::string& body) {
    auto text = "the service answered " + std::to_string(status);
    if (const auto message = messageIn(body); !message.empty()) text += ": " + message;
    return text;
}

std::string place(const korvel::platform::DecodingError& error) {
    return error.path.empty() ? error.reason : error.path + ": " + error.reason;
}

const char* meaning(std::int64_t code) {
    switch (static_cast<URLErrorCode>(code)) {
        case URLErrorCode::timedOut:
            return "the connection timed out";
        case URLErrorCode::unsupportedURL:
            return "the address cannot be asked";
        case URLErrorCode::cannotFindHost:
            return "the host was not found";
        case URLErrorCode::cannotConnectToHost:
            return "the connection was refused";
        case URLErrorCode::networkConnectionLost:
            return "the connection was lost";
        case URLErrorCode::serverCertificateUntrusted:
            return "the service's certificate is not trusted (--ca FILE names its authority)";
        case URLErrorCode::secureConnectionFailed:
            return "no secure connection came about";
        default:
            return "the exchange failed";
    }
}

std::string secondsText(double seconds) {
    char text[32];
    std::snprintf(text, sizeof text, "%g s", seconds);
    return text;
}

/// The media parts' reason, or what else there is.
std::string reasonIn(const korvel::NSError& error) {
    const auto* reason = error.text("NSLocalizedFailureReason");
    if (!reason) reason = error.text("NSLocalizedDescription");
    return reason ? fitted(printable(*reason), longestMessage) : error.description();
}

constexpr std::int64_t consentIsRequired = 601;

Failure consentRequired(const korvel::NSError& error) {
    const auto consent = std::dynamic_pointer_cast<korvel::KCSDKConsent>(error.object("consent"));
    if (!consent) {
        return {ExitCode::consentRequired, "a consent is required (\"korvel consent\" shows which)",
                error.code};
    }
    return {ExitCode::consentRequired,
            "the consent to '" + fitted(printable(consent->title), longestMessage) +
                "' is required (\"korvel accept " + printable(consent->consentTag) + "\" gives it)",
            error.code};
}

}  // namespace

bool isAccepted(const RequestReport& report) {
    constexpr int ok = 200;
    constexpr int created = 201;
    const int status = report.status.value_or(0);
    return status == ok || status == created;
}

Failure interrupted() { return {ExitCode::interrupted, "interrupted"}; }

Failure noAnswer(const RequestReport& report, double seconds) {
    const auto time = secondsText(seconds);
    if (report.request.empty()) {
        return {ExitCode::noAnswer, "nothing was sent within " + time};
    }
    auto text = "no answer within " + time + " to " + report.request;
    if (report.status) text += ": only the status " + std::to_string(*report.status) + " came";
    return {ExitCode::noAnswer, text + " (--timeout SECONDS waits longer)", report.status};
}

Failure noConnection(const korvel::NSError& error) {
    std::string text = meaning(error.code);
    if (const auto* details = error.text("NSLocalizedDescription")) text += ": " + *details;
    return {ExitCode::noConnection, text};
}

Failure notUnderstood(const RequestReport& report) {
    return {ExitCode::notUnderstood, "the answer is not understood: " + place(*report.undecodable),
            report.status};
}

Failure notLoggedIn(const RequestReport& report, const std::string& user) {
    auto text = "'" + user + "' is not logged in: ";
    text += isAccepted(report) ? "the answer is no user: " + place(*report.undecodable)
                               : answered(report.status.value_or(0), report.body);
    return {ExitCode::notLoggedIn, text, report.status};
}

Failure rejected(const RequestReport& report) {
    const auto status = report.status.value_or(0);
    return {ExitCode::rejected, answered(status, report.body), status};
}

Failure refusal(const korvel::NSError& error, const std::string& url) {
    if (error.domain.empty()) {
        return {ExitCode::badAddress, "not an absolute address: '" + url + "'"};
    }
    if (error.code == consentIsRequired) return consentRequired(error);
    const auto* message = error.text("message");
    return {ExitCode::rejected, answered(error.code, message ? *message : ""), error.code};
}

Failure noPlayer(const korvel::NSError& error) {
    return {ExitCode::failed, "this machine cannot play: " + reasonIn(error)};
}

Failure streamFailed(const korvel::NSError& error) {
    return {ExitCode::streamFailed, "the stream failed: " + reasonIn(error)};
}

Failure streamSilent(bool began, double seconds) {
    const std::string what = began ? "the stream stands still for " : "no picture within ";
    return {ExitCode::noAnswer, what + secondsText(seconds) +
                                    ": stream or content key do not come (--timeout SECONDS waits "
                                    "longer)"};
}

Failure notRecorded(const Failure& reason) {
    return {reason.code, std::string("the performance may not be recorded: ") + reason.what(),
            reason.status};
}

}  // namespace cli
