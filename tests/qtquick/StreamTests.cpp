#include "qtquick/Fixture.h"

#include <korvel/platform/backends/gstreamer/MediaEngineGStreamer.h>
#include <korvel/service/ContentService.h>

#include <array>
#include <cstdio>

namespace korvel::tests {

/// Real streams on real time; only the catalogue is made up.
class QtQuickStreamTest : public QtQuickTest {
protected:
    service::ContentService service{service::ContentService::Options{.tls = false}};

    platform::Device device() override {
        auto made = fake.device();
        made.clock = std::make_shared<platform::SystemClock>();
        made.mainQueue =
            std::make_shared<platform::MainQueue>(made.clock, platform::MainQueue::Driver::manual);
        NSError reason;
        made.mediaEngine = platform::makeMediaEngineGStreamer({.audioSink = "fakesink"}, &reason);
        EXPECT_TRUE(made.mediaEngine) << reason.description();
        return made;
    }
    void startStream(const std::string& path) {
        const auto link = service.baseURL() + "media/50101/" + path;
        start(place, 200, "[" + classJSON("c1", R"(,"streamingLink":")" + link + '"') + "]");
        ASSERT_TRUE(until([&] { return events != nullptr; }));
    }
    double position() { return CMTimeGetSeconds(player().player()->currentTime()); }
    /// The number that the service burnt into the picture, as the window shows it; -1 without one.
    int pictureShown() {
        const auto image = grab();
        const auto frame = item->mapRectToScene(item->boundingRect());
        int number = 0;
        for (int bit = 0; bit < 16; ++bit) {
            const QPointF box(frame.left() + (2 * bit + 1) * frame.width() / 32,
                              frame.top() + frame.height() / 18);
            const auto pixel = image.pixelColor(box.toPoint());
            if (pixel.blue() > pixel.red() + 40) return -1;  // the window's own colour
            if (pixel.green() > 128) number |= 1 << bit;
        }
        return number;
    }
    QImage clockRegion() {
        const auto image = grab();
        const auto frame = item->mapRectToScene(item->boundingRect());
        return image.copy(frame.adjusted(40, 100, -40, -100).toRect());
    }
};

TEST_F(QtQuickStreamTest, TheWindowShowsTheMovingPictureOfTheMoment) {
    startStream("360p/index.m3u8");
    ASSERT_TRUE(until([&] { return pictureShown() > 5; }));
    for (int look = 0; look < 5; ++look) {
        const auto before = clockRegion();
        const int shown = pictureShown();
        const double now = position();
        EXPECT_NEAR(shown, now * 30, 4) << "what is heard is seen";
        ASSERT_TRUE(until([&] { return pictureShown() > shown; }));
        EXPECT_NE(clockRegion(), before);
    }
    events->pauseVideo();
    settle();
    const auto still = clockRegion();
    const int before = frames;
    QTest::qWait(150);
    EXPECT_EQ(frames, before);
    EXPECT_EQ(clockRegion(), still);
}

TEST_F(QtQuickStreamTest, ADragOnTheSliderShowsThePictureOfThePlaceWhereItWasDropped) {
    startStream("360p/index.m3u8");
    ASSERT_TRUE(until([&] { return position() > 0.2; }));
    events->pauseVideo();
    events->showOverlayView();
    settle();
    auto& slider = *overlay().slider.get();
    const auto thumb = slider.thumbRect();
    const auto track = rectOf(slider);
    const auto press = track.topLeft() + QPointF(thumb.midX(), thumb.midY());
    QTest::mousePress(quick.get(), Qt::LeftButton, {}, press.toPoint());
    const auto drop = [&](double way) {
        return QPointF(track.left() + way * track.width(), press.y()).toPoint();
    };
    for (const double way : {0.3, 0.5, 0.6}) QTest::mouseMove(quick.get(), drop(way));
    const float dropped = slider.value();
    EXPECT_GT(dropped, 15);
    QTest::mouseRelease(quick.get(), Qt::LeftButton, {}, drop(0.6));
    EXPECT_NEAR(position(), dropped, 0.1);
    events->hideOverlayView();
    EXPECT_TRUE(until([&] { return std::abs(pictureShown() - 30. * dropped) < 3; }));
    EXPECT_NEAR(position(), dropped, 0.1);
    EXPECT_TRUE(until([&] { return overlay().viewLoader->isHidden(); }));
}

TEST_F(QtQuickStreamTest, AProcessWhoseKeyIsNeverAnsweredEndsWithItsWindow) {
#ifdef __SANITIZE_THREAD__
    constexpr int atOnce = 2500;  // ThreadSanitizer itself waits for a second
#else
    constexpr int atOnce = 1000;
#endif
    const auto link = service.baseURL() + "media/50101/v.ism/manifest";
    for (const char* how : {"close", "quit"}) {
        const auto command = std::string(KORVEL_CLOSING) + ' ' + link + ' ' + how;
        std::FILE* const output = popen(command.c_str(), "r");
        ASSERT_TRUE(output);
        std::array<char, 80> line{};
        ASSERT_TRUE(std::fgets(line.data(), line.size(), output));
        EXPECT_STREQ(line.data(), "closing while a key is waited for\n");
        QElapsedTimer timer;
        timer.start();
        EXPECT_EQ(pclose(output), 0) << how;
        EXPECT_LT(timer.elapsed(), atOnce) << how;
    }
}

}  // namespace korvel::tests
