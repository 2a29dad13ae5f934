#include <service/ContentService.h>

#include <QQmlContext>
#include <QQmlEngine>
#include <QTemporaryDir>
#include <QtQuickTest>

/// The development service as the tests see it.
class Service : public QObject {
    Q_OBJECT
    Q_PROPERTY(QVariantMap settings READ settings CONSTANT)
    Q_PROPERTY(int performances READ performances)

public:
    QVariantMap settings() const {
        const auto& options = service_.options();
        return {{"baseURL", QString::fromStdString(service_.baseURL())},
                {"apiKey", QString::fromStdString(options.apiKey)},
                {"secretKey", QString::fromStdString(options.secretKey)},
                {"tenantId", QString::fromStdString(options.tenant)},
                {"certificateAuthorityFile", QString::fromStdString(service_.caFile().string())},
                {"dataFolder", folder_.path()},
                {"audioSink", "fakesink"},
                {"quiet", true}};
    }
    int performances() { return static_cast<int>(service_.accounts().performances().size()); }
    Q_INVOKABLE void answer(const QString& path, int status, const QString& body) {
        service_.script(path.toStdString(), "", {.status = status, .body = body.toStdString()});
    }
    Q_INVOKABLE void hold(const QString& path) {
        service_.script(path.toStdString(), "", {.hold = true});
    }
    Q_INVOKABLE void breakOff(const QString& path) {
        service_.script(path.toStdString(), "", {.resetAfter = 0});
    }
    /// As at the end of `exec`.
    Q_INVOKABLE void quit() { QMetaObject::invokeMethod(qApp, "aboutToQuit"); }
    Q_INVOKABLE bool waitForHeld() { return service_.waitForHeld(1); }
    Q_INVOKABLE void release() { service_.release(); }

public Q_SLOTS:
    void qmlEngineAvailable(QQmlEngine* engine) {
        engine->rootContext()->setContextProperty("service", this);
    }

private:
    QTemporaryDir folder_;
    korvel::service::ContentService service_;
};

QUICK_TEST_MAIN_WITH_SETUP(qml, Service)

#include "main.moc"
