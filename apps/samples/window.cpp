// A whole host in a window, with controls of its own: korvel-sample-window CLASS [SECONDS]
#include <korvel/KorvelContentSDK.h>
#include <korvel/platform/backends/gstreamer/MediaEngineGStreamer.h>
#include <korvel/platform/backends/qtquick/ScreenHostQtQuick.h>
#include <QtGui/QtGui>
#include <QtQuick/QtQuick>
using namespace korvel;
using namespace std::literals;

/// Says how the player stands; a click pauses it and plays on.
struct Controls : QQuickPaintedItem {
    Controls() { setAcceptedMouseButtons(Qt::LeftButton); }
    void paint(QPainter* painter) override {
        painter->setPen(Qt::white);
        painter->drawText(boundingRect(), Qt::AlignCenter, paused ? "paused" : "plays or loads");
    }
    void mousePressEvent(QMouseEvent*) override { paused ? playback->play() : playback->pause(); }
    std::shared_ptr<Playback> playback;
    bool paused = false;
};

int main(int argc, char** argv) {
    QGuiApplication application(argc, argv);
    const auto env = [](const char* name) { return qEnvironmentVariable(name).toStdString(); };
    const platform::DeviceOptions parts{.certificateAuthorityFile = env("KORVEL_CA")};
    if (argc < 2 || !platform::installDeviceGStreamer({}, parts)) return 1;
    const auto queue = platform::Device::current().mainQueue;
    QQuickWindow window;
    platform::ScreenHostQtQuick screen(platform::Device::current().screen);
    screen.attach(&window);
    window.showMaximized();
    Controls controls;
    const auto failed = [](const Failure& failure) {
        qWarning("%s", failure.description().c_str());
        QGuiApplication::exit(1);
    };
    const auto follow = [&](const Playback::Status& status) {
        controls.paused = status.state == Playback::State::paused;
        controls.update();
        if (status.recorded) status.failure ? failed(*status.failure) : QGuiApplication::quit();
    };
    PlayOptions options{.in = screen.view(window.contentItem()), .overlay = screen.view(&controls)};
    const auto show = [&](const Outcome<std::shared_ptr<Playback>>& started) {
        if (!started) return failed(started.failure());  // consent, subscription: see console.cpp
        controls.playback = *started;
        controls.playback->observe(follow);
        if (argc > 2) queue->asyncAfter(atoi(argv[2]) * 1s, [&] { controls.playback->stop(); });
    };
    const ContentClient client(
        std::make_shared<KCSDKConfig>(env("KORVEL_URL"), env("KORVEL_SECRET_KEY"),
                                      env("KORVEL_API_KEY"), env("KORVEL_TENANT"), ""));
    client.logIn(env("KORVEL_USER")).then(queue, [&](const auto& user) {
        if (!user) return failed(user.failure());
        client.classDetails(argv[1]).then(queue, [&](const auto& found) {
            if (!found) return failed(found.failure());
            client.play(*found, options).then(queue, show);
        });
    });
    return QGuiApplication::exec();
}
