#include <bindings/qml/Reasons.h>
#include <bindings/qml/Text.h>
#include <korvel/platform/foundation/URLSession.h>

#include <QCoreApplication>
#include <QJsonDocument>
#include <QJsonObject>

namespace korvel::qml {

namespace {

QString translated(const char* english) {
    return QCoreApplication::translate("korvel::qml::Reasons", english);
}

/// Services word their refusals as an object with a message, proxies between as they like.
QString messageIn(const QString& body) {
    constexpr qsizetype longest = 300;
    const auto object = QJsonDocument::fromJson(body.toUtf8()).object();
    const auto message = object.value(QLatin1String("message"));
    return (message.isString() ? message.toString() : body.simplified()).left(longest);
}

QString meaning(std::int64_t code) {
    using platform::URLErrorCode;
    switch (static_cast<URLErrorCode>(code)) {
        case URLErrorCode::timedOut:
            return translated("The connection timed out.");
        case URLErrorCode::cannotFindHost:
            return translated("The service's host was not found.");
        case URLErrorCode::cannotConnectToHost:
            return translated("The service cannot be reached.");
        case URLErrorCode::networkConnectionLost:
            return translated("The connection was lost.");
        case URLErrorCode::serverCertificateUntrusted:
            return translated("The service's certificate is not trusted.");
        case URLErrorCode::secureConnectionFailed:
            return translated("No secure connection came about.");
        default:
            return translated("The exchange with the service failed.");
    }
}

}  // namespace

int statusOf(const NSError& error) {
    return error.domain.empty() ? 0 : static_cast<int>(error.code);
}

QString reason(const NSError& error) {
    if (error.domain.empty()) return translated("The service's address is no absolute one.");
    const auto* message = error.text("message");
    const auto said = message ? messageIn(text(*message)) : QString();
    const auto answered = translated("The service answered %1").arg(error.code);
    return said.isEmpty() ? answered + u'.' : answered + QStringLiteral(": ") + said;
}

QString reasonOfLoss(const NSError& error) { return meaning(error.code); }

QString reasonOfSilence(int milliseconds) {
    constexpr double second = 1000;
    return translated("The service did not answer within %1 s.").arg(milliseconds / second);
}

QString reasonUndecodable(const QString& what) {
    return translated("The service's answer is not understood (%1).").arg(what);
}

}  // namespace korvel::qml
