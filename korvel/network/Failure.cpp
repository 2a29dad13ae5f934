#include <korvel/model/KCSDKConsent.h>
#include <korvel/network/Failure.h>
#include <korvel/platform/foundation/JSONDecoder.h>
#include <korvel/platform/foundation/URLSession.h>
#include <korvel/platform/foundation/UTF8.h>

#include <array>
#include <utility>

namespace korvel {

namespace {

using Reason = Failure::Reason;

constexpr int consentRequiredStatus = 601;

struct Words {
    std::string_view name;
    std::string_view sentence;
};
constexpr std::array<Words, 22> words{{
    {"notInitialised", "The SDK has no configuration yet."},
    {"unusableBaseURL", "The configuration's base URL is no absolute address."},
    {"missingArgument", "A record that the operation needs was not given."},
    {"unreachable", "The service cannot be reached."},
    {"untrusted", "No trusted connection to the service is possible."},
    {"timedOut", "No answer came in time."},
    {"cancelled", "The operation was cancelled."},
    {"noAnswer", "The exchange ended without an answer."},
    {"refused", "The service refused."},
    {"loggedOut", "Nobody is logged in."},
    {"subscriptionRequired", "A subscription is required."},
    {"consentRequired", "The user has to consent first."},
    {"notFound", "The service knows no such thing."},
    {"notUnderstood", "The service's answer is not understood."},
    {"playlistFailed", "The stream's playlist cannot be had."},
    {"segmentFailed", "The stream's media cannot be had."},
    {"undecodable", "The stream cannot be decoded."},
    {"unsupported", "The stream is of a kind that this device does not play."},
    {"unplayable", "The stream cannot be played."},
    {"keyRefused", "The content key was refused."},
    {"keyUnanswered", "The content key did not come in time."},
    {"stalled", "The stream brings nothing any more."},
}};

const Words& wordsOf(Reason reason) { return words.at(static_cast<std::size_t>(reason)); }

Reason reasonOf(platform::URLErrorCode code) {
    switch (code) {
        case platform::URLErrorCode::timedOut:
            return Reason::timedOut;
        case platform::URLErrorCode::unsupportedURL:
            return Reason::unusableBaseURL;
        case platform::URLErrorCode::secureConnectionFailed:
        case platform::URLErrorCode::serverCertificateUntrusted:
            return Reason::untrusted;
        case platform::URLErrorCode::httpTooManyRedirects:
        case platform::URLErrorCode::redirectToNonExistentLocation:
        case platform::URLErrorCode::badServerResponse:
        case platform::URLErrorCode::cannotDecodeContentData:
        case platform::URLErrorCode::dataLengthExceedsMaximum:
            return Reason::notUnderstood;
        default:
            return Reason::unreachable;
    }
}

Reason reasonOf(int status) {
    switch (status) {
        case 401:
            return Reason::loggedOut;
        case 404:
            return Reason::notFound;
        case consentRequiredStatus:
            return Reason::consentRequired;
        default:
            return Reason::refused;
    }
}

}  // namespace

std::string_view nameOf(Reason reason) { return wordsOf(reason).name; }

bool Failure::isTransient() const {
    switch (reason) {
        case Reason::unreachable:
        case Reason::timedOut:
        case Reason::noAnswer:
            return true;
        case Reason::refused:
            return status == 408 || status == 429 || (status >= 502 && status <= 504);
        default:
            return false;
    }
}

std::string Failure::description() const {
    std::string text(wordsOf(reason).sentence);
    if (status != 0) text += " Status " + std::to_string(status) + ".";
    if (!message.empty()) text += " \"" + message + "\"";
    if (!record.empty()) {
        text += " No " + record;
        if (!member.empty()) text += " at " + member;
        if (!detail.empty()) text += ": " + detail;
        text += ".";
    }
    if (transport) text += " " + transport->description();
    if (isKept) text += " It is kept, and sent again.";
    return text;
}

Failure failureFor(Reason reason) {
    Failure failure;
    failure.reason = reason;
    return failure;
}

Failure failureOfTransport(NSError error) {
    Failure failure;
    failure.reason = error.domain == platform::urlErrorDomain
                         ? reasonOf(static_cast<platform::URLErrorCode>(error.code))
                         : Reason::unreachable;
    failure.transport = std::move(error);
    return failure;
}

Failure failureOfStatus(int status, std::optional<platform::Data> body) {
    Failure failure;
    failure.reason = reasonOf(status);
    failure.status = status;
    if (body) {
        failure.message = platform::viewOf(*body);
        if (!platform::isValidUTF8(failure.message)) failure.message = "na";
        if (failure.reason == Reason::consentRequired) {
            failure.consent =
                platform::decodeJSON<std::shared_ptr<KCSDKConsent>>(*body).value_or(nullptr);
        }
    }
    failure.body = std::move(body);
    return failure;
}

}  // namespace korvel
