#pragma once

#include <bindings/qml/Consent.h>
#include <bindings/qml/ServiceRequest.h>

#include <QDateTime>
#include <QObject>
#include <QPointer>
#include <QQmlEngine>
#include <QQuickWindow>
#include <QVariantMap>
#include <memory>
#include <vector>

namespace korvel {

class KCSDKConfig;
class Playback;

namespace platform {
class ScreenHostQtQuick;
}

namespace qml {

class PlayerItem;

/// The SDK's door for QML: configure it once, log a user in, then let the models and `PlayerItem`
/// do the rest. GUI thread, as everything in this module.
class KorvelContent : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_SINGLETON
    /// Whether `configure` has succeeded. Models that were made before ask as soon as it has.
    Q_PROPERTY(bool configured READ configured NOTIFY configuredChanged)
    /// The service's address, as configured.
    Q_PROPERTY(QString baseURL READ baseURL NOTIFY configuredChanged)
    /// Whether a user is logged in.
    Q_PROPERTY(bool loggedIn READ loggedIn NOTIFY loggedInChanged)
    /// Who is logged in, or was asked to; empty: nobody.
    Q_PROPERTY(QString userName READ userName NOTIFY loggedInChanged)
    /// Milliseconds after which a question ends unanswered (15000).
    Q_PROPERTY(
        int answerTimeout READ answerTimeout WRITE setAnswerTimeout NOTIFY answerTimeoutChanged)
    /// How the log-in stands.
    Q_PROPERTY(korvel::qml::ServiceRequest* loginRequest READ loginRequest CONSTANT)
    /// How loading or accepting consent documents stands.
    Q_PROPERTY(korvel::qml::ServiceRequest* consentRequest READ consentRequest CONSTANT)
    /// How starting or cancelling the subscription stands.
    Q_PROPERTY(korvel::qml::ServiceRequest* subscriptionRequest READ subscriptionRequest CONSTANT)
    /// The documents in force, of type `consent`, after `loadConsents`.
    Q_PROPERTY(QVariantList consents READ consents NOTIFY consentsChanged)
    /// Tags of the documents accepted by this log-in. The service does not tell of earlier ones.
    Q_PROPERTY(QStringList acceptedConsents READ acceptedConsents NOTIFY acceptedConsentsChanged)
    /// The subscription activated by this log-in; empty: none, or none that is known of.
    Q_PROPERTY(QString subscriptionId READ subscriptionId NOTIFY subscriptionIdChanged)
    /// Whether the user is a member: known once this log-in began or ended a membership, or a class
    /// was refused for want of one. The service does not tell by itself.
    Q_PROPERTY(Membership membership READ membership NOTIFY membershipChanged)
    /// How the player wants the device held: 1 portrait, 4 landscape. A host with a screen that
    /// turns turns it; others need not care.
    Q_PROPERTY(int deviceOrientation READ deviceOrientation NOTIFY deviceOrientationChanged)

public:
    enum Membership { UnknownMembership, Member, NoMember };
    Q_ENUM(Membership)

    ~KorvelContent() override;
    /// The engine's own way to the one object of the process.
    static KorvelContent* create(QQmlEngine* engine, QJSEngine* scriptEngine);
    static KorvelContent& instance();

    /// Initialises the SDK, which forgets who was logged in. `settings` has the texts `baseURL`
    /// (absolute, usually with a "/" at its end), `apiKey`, `secretKey`, `tenantId`,
    /// `localyticsKey`; and, counting in the first call of a process alone,
    /// `certificateAuthorityFile` (PEM, trusted instead of the system's, for pictures and
    /// `XMLHttpRequest` too), `applicationName`, `dataFolder`, `audioSink` and `quiet` (true: none
    /// of the SDK's lines on standard output). False, and the reason on the console, for an unknown
    /// setting or a machine that cannot play.
    Q_INVOKABLE bool configure(const QVariantMap& settings);
    /// See `loginRequest`; `loggedIn` tells success. Takes half a second at least.
    Q_INVOKABLE void login(const QString& userName);
    Q_INVOKABLE void logout();
    Q_INVOKABLE void loadConsents();
    Q_INVOKABLE void acceptConsent(const QString& consentTag);
    /// From `start` on; now if that is left out.
    Q_INVOKABLE void activateSubscription(const QString& subscriptionId,
                                          const QDateTime& start = {});
    Q_INVOKABLE void cancelSubscription();

    bool configured() const { return config_ != nullptr; }
    QString baseURL() const;
    bool loggedIn() const { return loggedIn_; }
    const QString& userName() const { return userName_; }
    int answerTimeout() const { return answerTimeout_; }
    void setAnswerTimeout(int milliseconds);
    ServiceRequest* loginRequest() { return &loginRequest_; }
    ServiceRequest* consentRequest() { return &consentRequest_; }
    ServiceRequest* subscriptionRequest() { return &subscriptionRequest_; }
    const QVariantList& consents() const { return consents_; }
    const QStringList& acceptedConsents() const { return acceptedConsents_; }
    const QString& subscriptionId() const { return subscriptionId_; }
    Membership membership() const { return membership_; }
    int deviceOrientation() const;

    /// The screen's mirror, attached to `window`: the first that plays shows full screen, too.
    platform::ScreenHostQtQuick& screenOn(QQuickWindow& window);
    /// Asks the service; only once configured.
    const ContentClient& client() const { return *client_; }
    /// A class was refused for want of a membership.
    void lacksMembership() { setMembership(NoMember); }
    /// That player covers its window from now on, above those that already do.
    void playerCovers(PlayerItem& player);
    /// That player has closed: before the application quits, its record goes out.
    void playerClosed(std::shared_ptr<Playback> playback);

Q_SIGNALS:
    void ending();  ///< for the players, which close now
    void configuredChanged();
    void loggedInChanged();
    void answerTimeoutChanged();
    void consentsChanged();
    void acceptedConsentsChanged();
    void consentAccepted(const QString& consentTag);
    void subscriptionIdChanged();
    void membershipChanged();
    void deviceOrientationChanged();

private:
    KorvelContent();
    bool installDevice(const QVariantMap& settings);
    void makeClient();
    void end();
    bool leaveFullScreen();
    void setLoggedIn(bool loggedIn, const QString& userName);
    void setSubscriptionId(const QString& subscriptionId);
    void setMembership(Membership membership);

    std::shared_ptr<KCSDKConfig> config_;
    std::unique_ptr<ContentClient> client_;
    std::vector<std::shared_ptr<Playback>> closed_;  ///< their records are on their way
    std::vector<QPointer<PlayerItem>> covering_;     ///< or were, the last one at the end
    std::unique_ptr<platform::ScreenHostQtQuick> screen_;
    QPointer<QQuickWindow> window_;
    bool loggedIn_ = false;
    QString userName_;
    int answerTimeout_ = 15000;
    QVariantList consents_;
    QStringList acceptedConsents_;
    QString subscriptionId_;
    Membership membership_ = UnknownMembership;
    ServiceRequest loginRequest_;
    ServiceRequest consentRequest_;
    ServiceRequest subscriptionRequest_;
};

}  // namespace qml
}  // namespace korvel
