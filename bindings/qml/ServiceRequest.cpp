#include <bindings/qml/KorvelContent.h>
#include <bindings/qml/ServiceRequest.h>
#include <bindings/qml/Text.h>

#include <QJsonDocument>
#include <QJsonObject>

namespace korvel::qml {

namespace {

/// Services word their refusals as an object with a message, proxies between as they like.
QString messageIn(const QString& body) {
    constexpr qsizetype longest = 300;
    const auto object = QJsonDocument::fromJson(body.toUtf8()).object();
    const auto message = object.value(QLatin1String("message"));
    return (message.isString() ? message.toString() : body.simplified()).left(longest);
}

bool isRefusal(const Failure& failure) {
    constexpr int ok = 200;
    constexpr int created = 201;
    return failure.status != 0 && failure.status != ok && failure.status != created;
}

}  // namespace

QString ServiceRequest::wording(const Failure& failure) {
    using enum Failure::Reason;
    if (isRefusal(failure)) {
        const auto said = messageIn(text(failure.message));
        return tr("The service answered %1").arg(failure.status) +
               (said.isEmpty() ? QStringLiteral(".") : QStringLiteral(": ") + said);
    }
    constexpr double second = 1000;
    const auto place = failure.member.empty() ? failure.record : failure.member;
    switch (failure.reason) {
        case unusableBaseURL:
            return tr("The service's address is no absolute one.");
        case untrusted:
            return tr("No trusted connection to the service came about.");
        case timedOut:
            return tr("The service did not answer within %1 s.")
                .arg(KorvelContent::instance().answerTimeout() / second);
        case notFound:
            return tr("The service knows no such class.");
        case notUnderstood:
            return tr("The service's answer is not understood (%1).")
                .arg(text(place + ": " + failure.detail));
        case unreachable:
        case noAnswer:
            return tr("The service cannot be reached, or the connection was lost.");
        case keyUnanswered:
            return tr("The content key does not come.");
        case stalled:
            return tr("Nothing comes of the stream any more.");
        default:
            return tr("The stream cannot be played.");
    }
}

QString ServiceRequest::message(const Failure& failure) {
    constexpr int unauthorized = 401;
    constexpr int forbidden = 403;
    constexpr int firstOfItsOwn = 500;
    using enum Failure::Reason;
    switch (failure.reason) {
        case unreachable:
        case noAnswer:
            return tr("There is no connection to the service.");
        case untrusted:
            return tr("There is no safe connection to the service.");
        case timedOut:
            return tr("The service takes too long to answer.");
        case loggedOut:
            return tr("You have been signed out. Please sign in again.");
        case subscriptionRequired:
            return tr("This is for members.");
        case consentRequired:
            return tr("Your consent is needed first.");
        case notFound:
            return tr("This class is not there any more.");
        case notUnderstood:
            return tr("The service's answer cannot be read. A newer version may help.");
        case keyRefused:
            return tr("This video is not released for you.");
        case keyUnanswered:
            return tr("The permission to play this video does not come.");
        case stalled:
            return tr("Nothing comes of the video any more.");
        case refused:
            if (failure.status == unauthorized || failure.status == forbidden) {
                return tr("The service does not let this app in. Please tell whoever set it up.");
            }
            return failure.status >= firstOfItsOwn
                       ? tr("The service has a problem. Please try again in a while.")
                       : tr("The service refused this.");
        case notInitialised:
        case unusableBaseURL:
            return tr("This app is not set up for a service. Please tell whoever set it up.");
        default:
            return tr("This video cannot be played.");
    }
}

ServiceRequest::~ServiceRequest() { forget(); }

void ServiceRequest::forget() {
    stop_.request_stop();
    if (state_ == State::busy) state_ = State::idle;
}

void ServiceRequest::ask(std::function<void()> send) {
    forget();
    stop_ = {};
    send_ = std::move(send);
    state_ = State::busy;
    errorText_.clear();
    message_.clear();
    errorStatus_ = 0;
    consent_ = nullptr;
    Q_EMIT changed();
    if (!KorvelContent::instance().configured()) {
        return fail(tr("KorvelContent is not configured yet"));
    }
    const auto question = send_;  // it may ask the next one
    question();
}

void ServiceRequest::retry() {
    if (send_ && !busy()) ask(send_);
}

void ServiceRequest::settle(const Failure* failure, const std::function<void()>& take) {
    if (failure) return fail(*failure);
    const auto token = stop_.get_token();
    take();
    if (token.stop_requested() || state_ != State::busy) return;
    state_ = State::succeeded;
    Q_EMIT changed();
    Q_EMIT answered();
}

void ServiceRequest::fail(const Failure& failure) {
    consent_ = failure.consent;
    fail(wording(failure), message(failure), isRefusal(failure) ? failure.status : 0);
}

void ServiceRequest::fail(const QString& text, const QString& message, int status) {
    state_ = State::failed;
    errorText_ = text;
    message_ = message;
    errorStatus_ = status;
    Q_EMIT changed();
    Q_EMIT failed(text, status);
}

}  // namespace korvel::qml
