#pragma once

#include "player/Fixture.h"

#include <korvel/platform/backends/qtquick/ScreenHostQtQuick.h>
#include <korvel/platform/uikit/Screen.h>

#include <QtCore/QElapsedTimer>
#include <QtGui/QImage>
#include <QtQuick/QQuickItem>
#include <QtQuick/QQuickWindow>
#include <QtQuick/QSGRendererInterface>
#include <QtTest/QTest>

#include <string>

namespace korvel::tests {

/// One picture of a single brightness, as an engine would hand it over.
inline std::shared_ptr<const platform::VideoFrame> plainFrame(std::uint8_t brightness) {
    constexpr std::size_t width = 64;
    constexpr std::size_t height = 36;
    auto pixels = std::make_shared<std::vector<std::uint8_t>>(width * height * 3 / 2, 128);
    std::fill_n(pixels->begin(), width * height, brightness);
    auto frame = std::make_shared<platform::VideoFrame>();
    frame->width = width;
    frame->height = height;
    const auto* data = pixels->data();
    frame->planes = {{{data, width},
                      {data + width * height, width / 2},
                      {data + width * height * 5 / 4, width / 2}}};
    frame->pixels = std::move(pixels);
    return frame;
}

/// The SDK in a real window of 800 by 600 points, with an item of 640 by 360 at (80, 60) as a place
/// for players. Time stands still until a test moves it; input comes as the system sends it.
class QtQuickTest : public PlayerTest {
protected:
    std::unique_ptr<QQuickWindow> quick = std::make_unique<QQuickWindow>();
    QQuickItem* item = nullptr;
    std::unique_ptr<platform::ScreenHostQtQuick> host;
    std::shared_ptr<platform::Screen> screen;
    int frames = 0;  ///< that the window has shown

    virtual platform::Device device() { return fake.device(); }

    void install(const std::filesystem::path& bundle) override {
        auto made = device();
        made.bundles.emplace_back(std::string(platform::sdkBundleIdentifier), bundle);
        ASSERT_TRUE(platform::Device::install(made));
        KCSDK::initialize(config);
        screen = platform::Device::current().screen;
        quick->setColor(QColor(0, 0, 80));
        quick->resize(800, 600);
        item = new QQuickItem(quick->contentItem());
        item->setPosition({80, 60});
        item->setSize({640, 360});
        host = std::make_unique<platform::ScreenHostQtQuick>(screen);
        host->attach(quick.get());
        place = host->view(item);
        window = host->window(quick.get());
        QObject::connect(quick.get(), &QQuickWindow::frameSwapped, quick.get(),
                         [this] { ++frames; });
        quick->show();
        ASSERT_TRUE(QTest::qWaitForWindowExposed(quick.get()));
        if (qgetenv("QT_QUICK_BACKEND") == "rhi") {
            ASSERT_EQ(quick->rendererInterface()->graphicsApi(), QSGRendererInterface::OpenGL);
        }
        quick->requestActivate();
        until([this] { return quick->isActive(); });
        settle();
    }
    void TearDown() override {
        host.reset();
        quick.reset();
        PlayerTest::TearDown();
    }

    bool until(const std::function<bool()>& done, int milliseconds = 10'000) {
        return QTest::qWaitFor(done, milliseconds);
    }
    /// Until the window is up to date with all that has happened.
    void settle() {
        run();
        for (int quiet = 0; quiet < 3;) {
            const int before = frames;
            QTest::qWait(20);
            quiet = frames == before ? quiet + 1 : 0;
        }
    }
    void passAndShow(std::chrono::milliseconds time) {
        pass(time);
        const int before = frames;
        until([&] { return frames > before; }, 200);
        settle();
    }

    /// With as many pixels as points, whatever the screen has.
    QImage grab() {
        const auto image = quick->grabWindow().convertToFormat(QImage::Format_RGB32);
        return image.scaled(quick->size(), Qt::IgnoreAspectRatio, Qt::FastTransformation);
    }
    QColor colorAt(QPointF point) { return grab().pixelColor(point.toPoint()); }
    void expectStill(const char* when) {
        settle();
        const int before = frames;
        for (int i = 0; i < 20; ++i) {
            pass(50ms);
            QTest::qWait(5);
        }
        EXPECT_EQ(frames, before) << when;
    }

    /// In the window, wherever the view is shown.
    QRectF rectOf(UIView& view) {
        const auto corner = view.convertToWindow({});
        const auto [width, height] = view.bounds().size;
        const bool embedded = view.isDescendantOf(*place);
        return QRectF(corner.x, corner.y, width, height)
            .translated(embedded ? item->mapToScene({}) : QPointF());
    }

    void click(QPointF point) {
        QTest::mouseClick(quick.get(), Qt::LeftButton, {}, point.toPoint());
        run();
    }
    void key(Qt::Key key) { QTest::keyClick(quick.get(), key); }

    /// A player with a picture of that brightness.
    void startOn(const std::shared_ptr<UIView>& parent, std::uint8_t brightness = 235) {
        start(parent);
        becomeReady();
        stream().frame = plainFrame(brightness);
        stream().events->frameChanged();
        run();
    }
    void startEmbedded(std::uint8_t brightness = 235) {
        startOn(place, brightness);
        settle();
    }
    void showControls() {
        click(item->mapToScene({10, 180}));
        passAndShow(1s);
    }
};

}  // namespace korvel::tests
