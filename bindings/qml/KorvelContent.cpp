#include <bindings/qml/KorvelContent.h>
#include <bindings/qml/PlayerItem.h>
#include <bindings/qml/Text.h>
#include <korvel/client/Playback.h>
#include <korvel/model/KCSDKUserSubscriptionRequest.h>
#include <korvel/platform/Device.h>
#include <korvel/platform/backends/gstreamer/MediaEngineGStreamer.h>
#include <korvel/platform/backends/qtquick/ScreenHostQtQuick.h>
#include <korvel/platform/uikit/Screen.h>
#include <korvel/sdk/KCSDK.h>
#include <korvel/session/KCSDKConfig.h>

#include <QGuiApplication>
#include <QLoggingCategory>
#include <QSslCertificate>
#include <QSslConfiguration>
#include <algorithm>
#include <chrono>
#include <utility>

namespace korvel::qml {

namespace {

using platform::Device;
using platform::MainQueue;

Q_LOGGING_CATEGORY(log, "korvel.content")

/// For records on their way when the application quits.
constexpr std::chrono::seconds longestEnding(3);

constexpr const char* settingNames[] = {
    "baseURL", "apiKey",     "secretKey",       "tenantId",  "localyticsKey",
    "quiet",   "dataFolder", "applicationName", "audioSink", "certificateAuthorityFile"};

std::string setting(const QVariantMap& settings, const char* name) {
    return settings.value(QLatin1String(name)).toString().toStdString();
}

bool areKnown(const QVariantMap& settings) {
    for (auto each = settings.begin(); each != settings.end(); ++each) {
        const auto isIt = [&](const char* name) { return each.key() == QLatin1String(name); };
        if (std::none_of(std::begin(settingNames), std::end(settingNames), isIt)) {
            qCWarning(log, "configure: there is no setting \"%s\"", qPrintable(each.key()));
            return false;
        }
    }
    return true;
}

/// Pictures come from the same service as everything else.
void trustForPictures(const QString& authorityFile) {
    auto trust = QSslConfiguration::defaultConfiguration();
    trust.setCaCertificates(QSslCertificate::fromPath(authorityFile));
    QSslConfiguration::setDefaultConfiguration(trust);
}

}  // namespace

KorvelContent::KorvelContent() = default;
KorvelContent::~KorvelContent() = default;

KorvelContent& KorvelContent::instance() {
    // Never destroyed: QML may hold it to the very end. What shows windows goes with the
    // application.
    static KorvelContent& content = *new KorvelContent;
    return content;
}

KorvelContent* KorvelContent::create(QQmlEngine*, QJSEngine*) {
    QQmlEngine::setObjectOwnership(&instance(), QQmlEngine::CppOwnership);
    return &instance();
}

bool KorvelContent::configure(const QVariantMap& settings) {
    if (!areKnown(settings)) return false;
    if (!screen_ && !installDevice(settings)) return false;
    config_ = std::make_shared<KCSDKConfig>(
        setting(settings, "baseURL"), setting(settings, "secretKey"), setting(settings, "apiKey"),
        setting(settings, "tenantId"), setting(settings, "localyticsKey"));
    KCSDK::initialize(config_);
    makeClient();
    setLoggedIn(false, {});
    Q_EMIT configuredChanged();
    return true;
}

bool KorvelContent::installDevice(const QVariantMap& settings) {
    Device device;
    device.clock = std::make_shared<platform::SystemClock>();
    device.mainQueue = platform::make<MainQueue>(device.clock, MainQueue::Driver::manual);
    platform::DeviceOptions options;
    if (settings.value(QStringLiteral("quiet")).toBool()) options.console = [](std::string_view) {};
    options.applicationName = setting(settings, "applicationName");
    options.dataFolder = setting(settings, "dataFolder");
    options.certificateAuthorityFile = setting(settings, "certificateAuthorityFile");
    platform::GStreamerOptions media;
    if (auto sink = setting(settings, "audioSink"); !sink.empty()) media.audioSink = sink;
    media.certificateAuthorityFile = options.certificateAuthorityFile;
    NSError lacking;
    device.mediaEngine = platform::makeMediaEngineGStreamer(media, &lacking);
    if (!device.mediaEngine) {
        qCWarning(log, "configure: this machine cannot play: %s", lacking.description().c_str());
        return false;
    }
    if (!Device::install(std::move(device), options)) {
        qCWarning(log, "configure: the SDK was in use before");
        return false;
    }
    if (!options.certificateAuthorityFile.empty()) {
        trustForPictures(QString::fromStdString(options.certificateAuthorityFile.string()));
    }
    screen_ = std::make_unique<platform::ScreenHostQtQuick>(Device::current().screen);
    connect(screen_.get(), &platform::ScreenHostQtQuick::orientationChanged, this,
            &KorvelContent::deviceOrientationChanged);
    screen_->setLeaveHandler([] { return instance().leaveFullScreen(); });
    qAddPostRoutine([] { instance().screen_.reset(); });
    connect(QCoreApplication::instance(), &QCoreApplication::aboutToQuit, this,
            &KorvelContent::end);
    return true;
}

void KorvelContent::makeClient() {
    client_ = std::make_unique<ContentClient>(
        ClientOptions{.deadline = std::chrono::milliseconds(answerTimeout_)});
}

namespace {
bool isRecorded(const std::shared_ptr<Playback>& playback) {
    return playback->status().recorded.has_value();
}
}  // namespace

void KorvelContent::playerClosed(std::shared_ptr<Playback> playback) {
    std::erase_if(closed_, isRecorded);
    closed_.push_back(std::move(playback));
}

void KorvelContent::playerCovers(PlayerItem& player) {
    std::erase_if(covering_, [&](const auto& each) { return !each || each == &player; });
    covering_.emplace_back(&player);
}

/// Of the window that has the keys. A player that has a place on its page returns there.
bool KorvelContent::leaveFullScreen() {
    const auto* const window = QGuiApplication::focusWindow();
    const auto covers = [&](const auto& player) {
        return player && player->fullScreen() && (!window || player->window() == window);
    };
    const auto top = std::find_if(covering_.rbegin(), covering_.rend(), covers);
    if (top == covering_.rend() || !(*top)->hasPlace()) return false;
    (*top)->exitFullScreen();
    return true;
}

/// The event loop has ended: what the closing needs of it is done here.
void KorvelContent::end() {
    Q_EMIT ending();
    Device::current().mainQueue->runUntil(
        [this] { return std::all_of(closed_.begin(), closed_.end(), isRecorded); }, longestEnding);
}

platform::ScreenHostQtQuick& KorvelContent::screenOn(QQuickWindow& window) {
    screen_->attach(&window);
    return *screen_;
}

int KorvelContent::deviceOrientation() const { return screen_ ? screen_->orientation() : 1; }

QString KorvelContent::baseURL() const { return config_ ? text(config_->baseURL) : QString(); }

void KorvelContent::setAnswerTimeout(int milliseconds) {
    if (std::exchange(answerTimeout_, milliseconds) == milliseconds) return;
    if (configured()) makeClient();
    Q_EMIT answerTimeoutChanged();
}

void KorvelContent::setLoggedIn(bool loggedIn, const QString& userName) {
    if (!loggedIn) {
        loginRequest_.forget();
        acceptedConsents_.clear();
        Q_EMIT acceptedConsentsChanged();
        setMembership(UnknownMembership);
        setSubscriptionId({});
    }
    loggedIn_ = loggedIn;
    userName_ = userName;
    Q_EMIT loggedInChanged();
}

void KorvelContent::login(const QString& userName) {
    setLoggedIn(false, userName);
    loginRequest_.ask([this, userName] {
        loginRequest_.expect(client().logIn(userName.toStdString()),
                             [this](const auto&) { setLoggedIn(true, userName_); });
    });
}

void KorvelContent::logout() {
    if (!config_) return;
    KCSDK::initialize(config_);  // deletes the session
    setLoggedIn(false, {});
}

void KorvelContent::loadConsents() {
    consentRequest_.ask([this] {
        consentRequest_.expect(client().consents(), [this](const auto& list) {
            consents_.clear();
            for (const auto& each : list) consents_.append(QVariant::fromValue(Consent(each)));
            Q_EMIT consentsChanged();
        });
    });
}

void KorvelContent::acceptConsent(const QString& consentTag) {
    consentRequest_.ask([this, consentTag] {
        consentRequest_.expect(client().acceptConsent(consentTag.toStdString()),
                               [this, consentTag](Done) {
                                   if (!acceptedConsents_.contains(consentTag))
                                       acceptedConsents_.append(consentTag);
                                   Q_EMIT acceptedConsentsChanged();
                                   Q_EMIT consentAccepted(consentTag);
                               });
    });
}

void KorvelContent::activateSubscription(const QString& subscriptionId, const QDateTime& start) {
    const auto from = start.isValid() ? start : QDateTime::currentDateTime();
    const std::chrono::system_clock::time_point date{
        std::chrono::milliseconds(from.toMSecsSinceEpoch())};
    subscriptionRequest_.ask([this, subscriptionId, date] {
        const KCSDKUserSubscriptionRequest subscription(date, subscriptionId.toStdString());
        subscriptionRequest_.expect(client().activateSubscription(subscription),
                                    [this, subscriptionId](Done) {
                                        setMembership(Member);
                                        setSubscriptionId(subscriptionId);
                                    });
    });
}

void KorvelContent::cancelSubscription() {
    subscriptionRequest_.ask([this] {
        subscriptionRequest_.expect(client().cancelSubscription(), [this](Done) {
            setMembership(NoMember);
            setSubscriptionId({});
        });
    });
}

void KorvelContent::setMembership(Membership membership) {
    if (std::exchange(membership_, membership) != membership) Q_EMIT membershipChanged();
}

void KorvelContent::setSubscriptionId(const QString& subscriptionId) {
    if (std::exchange(subscriptionId_, subscriptionId) != subscriptionId) {
        Q_EMIT subscriptionIdChanged();
    }
}

}  // namespace korvel::qml
