// A host with a player whose key never comes. While that is waited for it closes its window, or
// quits with the window open, says so on standard output, and must be gone.

#include "support/Samples.h"
#include "support/TestDevice.h"

#include <korvel/model/KCSDKOndemandClass.h>
#include <korvel/platform/backends/gstreamer/MediaEngineGStreamer.h>
#include <korvel/platform/backends/qtquick/ScreenHostQtQuick.h>
#include <korvel/platform/foundation/SDKBundle.h>
#include <korvel/presentation/KCSDKPlayerEvents.h>
#include <korvel/presentation/KCSDKVideoViewBuilder.h>
#include <korvel/sdk/KCSDK.h>
#include <korvel/sdk/KCSDKConfig.h>

#include <QtCore/QTimer>
#include <QtGui/QGuiApplication>
#include <QtQuick/QQuickItem>
#include <QtQuick/QQuickWindow>

#include <cstdio>
#include <string_view>
#include <thread>

using namespace korvel;

int main(int argumentCount, char** arguments) {
    if (argumentCount != 3) return 2;
    const QGuiApplication application(argumentCount, arguments);
    tests::TestDevice fake;
    auto device = fake.device();
    device.clock = std::make_shared<platform::SystemClock>();
    device.mainQueue =
        std::make_shared<platform::MainQueue>(device.clock, platform::MainQueue::Driver::ownThread);
    device.mediaEngine = platform::makeMediaEngineGStreamer({.audioSink = "fakesink"});
    device.bundles.emplace_back(std::string(platform::sdkBundleIdentifier), KORVEL_BUNDLE);
    if (!platform::Device::install(device)) return 2;
    KCSDK::initialize(
        std::make_shared<KCSDKConfig>("https://service.test/", "secret", "key", "tenant", "a"));

    QQuickWindow window;
    window.resize(640, 360);
    QQuickItem item(window.contentItem());
    item.setSize(window.size());
    platform::ScreenHostQtQuick host(platform::Device::current().screen);
    host.attach(&window);
    window.show();

    const std::string link = arguments[1];
    const auto builder = std::make_shared<KCSDKVideoViewBuilder>(
        tests::decoded<KCSDKOndemandClass>(tests::classJSON("asked")));
    std::shared_ptr<KCSDKPlayerEvents> events;
    builder->startVideoIn(host.view(&item), nullptr, [&](auto started, auto) { events = started; });
    fake.session->answer(200,
                         "[" + tests::classJSON("c1", R"(,"streamingLink":")" + link + '"') + "]");

    // The second request is for the token that the key's own request needs: nobody answers.
    const bool quits = arguments[2] == std::string_view("quit");
    std::thread([session = fake.session, queue = device.mainQueue, &window, quits] {
        if (!session->waitForRequests(2)) return;
        queue->async([&window, quits] {
            std::puts("closing while a key is waited for");
            std::fflush(stdout);
            if (quits) return QCoreApplication::quit();
            window.close();
        });
    }).detach();
    QTimer::singleShot(30'000, &application, [] { QCoreApplication::exit(3); });
    return QGuiApplication::exec();
}
