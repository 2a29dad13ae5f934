// What showing costs: the same player with its controls, 720p at 30 pictures a second, once in a
// window and once in a view tree that nobody shows, by turns. The difference in processor time is
// the screen's share; decoding, streaming and the player's own work are in both.

#include <korvel/platform/Device.h>
#include <korvel/platform/avfoundation/AVPlayer.h>
#include <korvel/platform/backends/gstreamer/MediaEngineGStreamer.h>
#include <korvel/platform/backends/qtquick/ScreenHostQtQuick.h>
#include <korvel/platform/foundation/SDKBundle.h>
#include <korvel/platform/uikit/Screen.h>
#include <korvel/player/KCSDKPlayerOverlay.h>
#include <korvel/player/KCSDKPlayerView.h>
#include <korvel/player/ViewPinning.h>
#include <service/ContentService.h>

#include <QtCore/QElapsedTimer>
#include <QtCore/QEventLoop>
#include <QtCore/QTimer>
#include <QtGui/QGuiApplication>
#include <QtGui/QImage>
#include <QtQuick/QQuickItem>
#include <QtQuick/QQuickWindow>
#include <QtQuick/QSGRendererInterface>

#include <algorithm>
#include <array>
#include <cmath>
#include <ctime>
#include <functional>
#include <iostream>
#include <set>
#include <string>
#include <vector>

namespace {

using namespace korvel;
using namespace korvel::platform;

constexpr QSize size(1280, 720);

std::string prefix = "screen";  ///< of the figures, by renderer

void report(const std::string& name, double value, double goal) {
    std::cout << prefix << name << ' ' << value << ' ' << goal << (value <= goal ? " ok" : " short")
              << std::endl;
}

double median(std::vector<double> values) {
    std::nth_element(values.begin(), values.begin() + static_cast<long>(values.size() / 2),
                     values.end());
    return values[values.size() / 2];
}

double processorSeconds() {
    timespec time{};
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &time);
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) * 1e-9;
}

void pass(int milliseconds) {
    QEventLoop loop;
    QTimer::singleShot(milliseconds, Qt::PreciseTimer, &loop, &QEventLoop::quit);
    loop.exec();
}

bool until(const std::function<bool()>& done) {
    QElapsedTimer timer;
    timer.start();
    while (!done() && timer.elapsed() < 20'000) pass(5);
    return done();
}

struct Machine {
    Device device;
    std::shared_ptr<Screen> screen;

    Machine() {
        device.clock = std::make_shared<SystemClock>();
        device.mainQueue = make<MainQueue>(device.clock, MainQueue::Driver::manual);
        device.mediaEngine = makeMediaEngineGStreamer({.audioSink = "fakesink"});
        device.bundles.emplace_back(std::string(sdkBundleIdentifier), KORVEL_BUNDLE);
        screen = std::make_shared<Screen>(device.mainQueue, device.clock);
    }
};

/// A playing class in a view of the window's size.
struct Show {
    std::shared_ptr<KCSDKPlayerView> view;

    Show(const Machine& machine, const std::string& address, const std::shared_ptr<UIView>& place,
         bool controls) {
        view = make<KCSDKPlayerView>(machine.device, nullptr);
        view->setBackgroundColor(UIColor::black());
        view->closePlayerCallback = [](auto) {};
        view->loadVideo(*URL::parse(address));
        const auto overlay = view->addOverlay(nullptr);
        overlay->lblTitle->setText("Full Body Foundations");
        overlay->slider->setThumbImage(
            UIImage::named("thumb", *machine.device.bundle(sdkBundleIdentifier)),
            UIControlState::normal);
        overlay->btnPlay->setBackgroundImage(
            UIImage::named("play", *machine.device.bundle(sdkBundleIdentifier)),
            UIControlState::normal);
        overlay->btnClose->setBackgroundImage(
            UIImage::named("close", *machine.device.bundle(sdkBundleIdentifier)),
            UIControlState::normal);
        if (controls) overlay->toggleControls();
        place->addSubview(view);
        pin(view, place);
        view->player()->play();
    }
    ~Show() {
        view->closeBtnTapped();
        view->removeFromSuperview();
        pass(50);
    }
    Show(const Show&) = delete;
    Show& operator=(const Show&) = delete;
    double position() const { return CMTimeGetSeconds(view->player()->currentTime()); }
    std::chrono::nanoseconds picture() const {
        const auto frame = view->player()->newestFrame();
        return frame ? frame->time : std::chrono::nanoseconds(-1);
    }
};

constexpr int measuredMilliseconds = 3000;

/// Processor time per picture, with the show where it is.
double cost(const Show& show) {
    if (!until([&] { return show.position() > 0.7; })) return std::nan("");
    const double before = processorSeconds();
    const auto from = show.picture();
    pass(measuredMilliseconds);
    const std::chrono::duration<double> played = show.picture() - from;
    return 1e3 * (processorSeconds() - before) / (played.count() * 30);
}

struct Stage {
    QQuickWindow window;
    QQuickItem item{window.contentItem()};
    ScreenHostQtQuick host;

    explicit Stage(const Machine& machine) : host(machine.screen) {
        window.setColor(Qt::black);
        window.resize(size);
        item.setSize(size);
        host.attach(&window);
        window.show();
        until([&] { return window.isExposed(); });
        pass(200);
    }
};

void measureFrames(const Machine& machine, Stage& stage, const std::string& address) {
    const auto unseen =
        make<UIWindow>(machine.screen, CGRect{0, 0, double{size.width()}, double{size.height()}});
    const auto place = stage.host.view(&stage.item);
    std::array<std::vector<double>, 2> shares;  // without controls, with them
    std::array<double, 2> dropped{};
    for (int turn = 0; turn < 5; ++turn) {
        for (const bool controls : {true, false}) {
            const double bare = cost(Show(machine, address, unseen, controls));
            Show show(machine, address, place, controls);
            std::set<std::chrono::nanoseconds> shown;
            const auto seen = QObject::connect(
                &stage.window, &QQuickWindow::beforeSynchronizing, &stage.window,
                [&] { shown.insert(show.picture()); }, Qt::DirectConnection);
            int frames = 0;
            const auto counting = QObject::connect(&stage.window, &QQuickWindow::frameSwapped,
                                                   &stage.window, [&] { ++frames; });
            const double with = cost(show);
            QObject::disconnect(seen);
            QObject::disconnect(counting);
            shares.at(controls).push_back(with - bare);
            shown.erase(shown.begin());  // before the first came
            const std::chrono::duration<double> span = *shown.rbegin() - *shown.begin();
            dropped.at(controls) +=
                std::round(span.count() * 30) + 1 - static_cast<double>(shown.size());
            std::cout << "  with " << with << " ms, without " << bare << " ms, " << shown.size()
                      << " pictures shown in " << frames << " frames\n";
        }
    }
    const double goal = prefix == "screen" ? 2 : 12;
    const double bare = median(shares[0]);
    const double whole = median(shares[1]);
    report("_ms_per_frame", whole, goal);
    report("_bare_ms_per_frame", bare, goal);
    report("_overlay_vs_bare", whole / bare, 1.25);
    report("_dropped_frames", dropped[1], 0);
    report("_bare_dropped_frames", dropped[0], 0);
}

/// How far a fade of a second is from half its way after half a second, in percent.
void measureFade(const Machine& machine, Stage& stage) {
    const auto place = stage.host.view(&stage.item);
    const auto veil = make<UIView>(CGRect{0, 0, double{size.width()}, double{size.height()}});
    veil->setBackgroundColor(UIColor::white());
    veil->setAlpha(0);
    place->addSubview(veil);
    pass(200);
    double worst = 0;
    for (const double to : {1., 0., 1., 0.}) {
        machine.screen->animate(1, [&] { veil->setAlpha(to); });
        pass(500);
        const double way = stage.window.grabWindow().pixelColor(400, 300).redF();
        worst = std::max(worst, std::abs(way - 0.5));
        pass(700);
    }
    veil->removeFromSuperview();
    report("_fade_half_error_percent", 100 * worst, 5);
}

/// Frames drawn in a second while paused controls are shown.
void measureStillness(const Machine& machine, Stage& stage, const std::string& address) {
    const Show show(machine, address, stage.host.view(&stage.item), true);
    until([&] { return show.position() > 0.5; });
    show.view->player()->pause();
    pass(500);
    int frames = 0;
    const auto counting = QObject::connect(&stage.window, &QQuickWindow::frameSwapped,
                                           &stage.window, [&] { ++frames; });
    pass(1000);
    QObject::disconnect(counting);
    report("_still_frames", frames, 0);
}

}  // namespace

int main(int argumentCount, char** arguments) {
    if (!qEnvironmentVariableIsSet("QT_QPA_PLATFORM")) qputenv("QT_QPA_PLATFORM", "offscreen");
    if (!qEnvironmentVariableIsSet("QT_QUICK_BACKEND")) qputenv("QT_QUICK_BACKEND", "software");
    const QGuiApplication application(argumentCount, arguments);
    const Machine machine;
    if (!machine.device.mediaEngine) return 1;
    service::ContentService service({.tls = false, .streams = KORVEL_STREAMS, .keptRequests = 0});
    const auto address = service.baseURL() + "media/50101/720p/index.m3u8";
    Stage stage(machine);
    if (stage.window.rendererInterface()->graphicsApi() != QSGRendererInterface::Software) {
        prefix = "screen_opengl_" + qgetenv("QSG_RENDER_LOOP").toStdString();
    }
    measureFrames(machine, stage, address);
    measureFade(machine, stage);
    measureStillness(machine, stage, address);
    return 0;
}
