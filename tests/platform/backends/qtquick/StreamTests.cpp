#include "platform/backends/qtquick/Fixture.h"
#include "support/ChildProcess.h"

#include <korvel/platform/backends/gstreamer/MediaEngineGStreamer.h>
#include <service/ContentService.h>
#include <service/streams/TestPicture.h>

#include <unistd.h>
#include <thread>

namespace korvel::tests {

/// Real streams on real time; only the catalogue is made up.
class QtQuickStreamTest : public QtQuickTest {
protected:
    std::unique_ptr<service::ContentService> service =
        std::make_unique<service::ContentService>(service::ContentService::Options{.tls = false});

    platform::Device device() override {
        auto made = fake.device();
        made.clock = std::make_shared<platform::SystemClock>();
        made.mainQueue =
            platform::make<platform::MainQueue>(made.clock, platform::MainQueue::Driver::manual);
        NSError reason;
        made.mediaEngine = platform::makeMediaEngineGStreamer({.audioSink = "fakesink"}, &reason);
        EXPECT_TRUE(made.mediaEngine) << reason.description();
        return made;
    }
    void startStream(const std::string& path) {
        const auto link = service->baseURL() + "media/50101/" + path;
        start(place, 200, "[" + classJSON("c1", R"(,"streamingLink":")" + link + '"') + "]");
        ASSERT_TRUE(until([&] { return events != nullptr; }));
    }
    double position() { return CMTimeGetSeconds(player().player()->currentTime()); }
    /// The number on the picture that the window shows; -1 without one.
    int pictureShown() {
        const auto image = grab();
        const auto frame = item->mapRectToScene(item->boundingRect());
        bool isThere = true;
        const int number = service::TestPicture::numberOn(640, 360, [&](auto x, auto y) {
            const auto pixel = image.pixelColor((frame.topLeft() + QPointF(x, y)).toPoint());
            isThere = isThere && pixel.blue() <= pixel.red() + 40;  // or the window's own colour
            return pixel.green() > 128;
        });
        return isThere ? number : -1;
    }
};

TEST_F(QtQuickStreamTest, TheWindowShowsTheMovingPictureOfTheMomentAndThatOfASoughtPlace) {
    startStream("360p/index.m3u8");
    ASSERT_TRUE(until([&] { return pictureShown() > 5; }));
    for (int look = 0; look < 5; ++look) {
        const int shown = pictureShown();
        EXPECT_NEAR(shown, position() * 30, 4) << "what is heard is seen";
        ASSERT_TRUE(until([&] { return pictureShown() > shown; }));
    }
    events->pauseVideo();
    expectStill("paused");
    events->seekTo(18);
    EXPECT_TRUE(until([&] { return std::abs(pictureShown() - 18 * 30) < 3; }));
    EXPECT_NEAR(position(), 18, 0.1);
    EXPECT_TRUE(until([&] { return overlay().viewLoader->isHidden(); }));
}

TEST_F(QtQuickStreamTest, AProcessWhoseKeyIsNeverAnsweredEndsWithItsWindow) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    const auto end = [&](bool quits) {
        startStream("v.ism/manifest");
        std::thread([&] {
            // The second is for the token that the key's own request needs: nobody answers.
            if (!fake.session->waitForRequests(2)) std::abort();
            platform::Device::current().mainQueue->async([&] {
                alarm(sanitized ? 3 : 1);  // which ends the process in another way
                quits ? QCoreApplication::quit() : void(quick->close());
            });
        }).detach();
        QGuiApplication::exec();
        events.reset();
        builder.reset();
        TearDown();
        service.reset();
        std::exit(0);
    };
    for (const bool quits : {false, true}) EXPECT_EXIT(end(quits), testing::ExitedWithCode(0), "");
}

}  // namespace korvel::tests
