#include "platform/backends/qtquick/Fixture.h"

#include <QtTest/QSignalSpy>

namespace korvel::tests {

using platform::ScreenHostQtQuick;

TEST_F(QtQuickTest, FullScreenCoversTheWindowAndReturnsThePlayerToItsItemHoweverThatIsResized) {
    QSignalSpy presenting(host.get(), &ScreenHostQtQuick::presentingChanged);
    QSignalSpy turned(host.get(), &ScreenHostQtQuick::orientationChanged);
    startEmbedded();
    EXPECT_EQ(presenting.count(), 0) << "an embedded player covers nothing";
    const QColor video(255, 255, 255);
    for (const auto& [size, room] :
         {std::pair(QSize(800, 600), QSizeF(640, 360)), {QSize(900, 500), QSizeF(420, 240)}}) {
        events->enterFullScreen();
        passAndShow(1s);
        quick->resize(size);
        item->setSize({300, 200});  // the host turns its layout meanwhile
        settle();
        EXPECT_TRUE(host->isPresenting());
        EXPECT_EQ(host->orientation(), 4);
        for (const QPointF corner : {QPointF(2, 2), QPointF(size.width() - 3, size.height() - 3)})
            EXPECT_EQ(colorAt(corner), video);
        events->exitFullScreen();
        item->setSize(room);
        settle();
        EXPECT_FALSE(host->isPresenting());
        EXPECT_EQ(events->playerVC->view()->superview(), place);
        EXPECT_EQ(colorAt({2, 2}), quick->color());
        EXPECT_EQ(colorAt(item->mapToScene({2, 2})), video);
        const auto corner = item->mapToScene({room.width(), room.height()});
        EXPECT_EQ(colorAt(corner - QPointF(2, 2)), video);
        EXPECT_EQ(colorAt(corner + QPointF(2, 2)), quick->color());
    }
    EXPECT_EQ(presenting.count(), 4);
    EXPECT_EQ(turned.count(), 4);
}

TEST_F(QtQuickTest, APresentationComesAndGoesSlowly) {
    startOn(nullptr);
    const auto becomes = [&](int brightness) {
        const auto shown = [&] { return colorAt({400, 300}).red(); };
        pass(125ms);
        EXPECT_TRUE(until([&] { return std::abs(shown() - brightness) < 12; }, 500)) << shown();
    };
    becomes(128);
    becomes(255);
    events->stopVideo();
    run();
    EXPECT_EQ(fake.media->open(), 0u) << "only its pixels are still there";
    becomes(128);
    becomes(0);
    settle();
    EXPECT_EQ(colorAt({400, 300}), quick->color());
}

TEST_F(QtQuickTest, AnOverlayItemFollowsThePlayerAndComesBack) {
    QQuickItem shelf(quick->contentItem());
    QQuickItem own(&shelf);
    own.setPosition({7, 9});
    own.setSize({11, 13});
    auto overlayView = host->view(&own);
    start(place, 200, std::nullopt, overlayView);
    settle();
    const auto rect = [&] { return own.mapRectToScene(own.boundingRect()); };
    EXPECT_EQ(rect(), QRectF(80, 60, 640, 360));
    item->setSize({400, 300});
    settle();
    EXPECT_EQ(rect(), QRectF(80, 60, 400, 300));
    EXPECT_TRUE(own.isVisible());
    overlayView->setHidden(true);
    settle();
    EXPECT_FALSE(own.isVisible());
    overlayView->setHidden(false);
    overlayView->setAlpha(0.5);
    settle();
    EXPECT_TRUE(own.isVisible());
    EXPECT_EQ(own.parentItem()->opacity(), 0.5);
    EXPECT_EQ(own.opacity(), 1) << "the host's own stays its own";
    events->enterFullScreen();
    passAndShow(1s);
    EXPECT_EQ(rect(), QRectF(0, 0, 800, 600));

    events->stopVideo();
    passAndShow(1s);
    EXPECT_EQ(own.parentItem(), &shelf);
    EXPECT_EQ(QRectF(own.position(), own.size()), QRectF(7, 9, 11, 13));
    EXPECT_EQ(host->view(&own), overlayView) << "as good as new";
    overlayView.reset();
    events.reset();
    settle();
    EXPECT_TRUE(host->view(&own));
}

TEST_F(QtQuickTest, WindowItemViewAndHostMayGoInAnyOrder) {
    EXPECT_EQ(host->view(nullptr), nullptr);
    EXPECT_EQ(host->view(item), place) << "one view for one item";
    auto overlayItem = std::make_unique<QQuickItem>(quick->contentItem());
    start(place, 200, std::nullopt, host->view(overlayItem.get()));
    becomeReady();
    settle();
    overlayItem.reset();
    settle();

    const std::weak_ptr<KCSDKPlayerView> embedded = events->playerVC->viewVideo;
    place.reset();
    events.reset();
    builder.reset();
    EXPECT_FALSE(embedded.expired()) << "the item keeps its player";
    delete item;
    run();
    EXPECT_TRUE(embedded.expired());
    EXPECT_EQ(fake.media->open(), 0u);

    QQuickItem second(quick->contentItem());
    second.setSize({100, 100});
    place = host->view(&second);
    start(place);
    settle();
    host.reset();
    EXPECT_EQ(fake.media->open(), 1u) << "the test still has it";
    host = std::make_unique<ScreenHostQtQuick>(screen);
    EXPECT_NE(host->view(&second), place) << "a new host knows no old views";
    host->attach(quick.get());
    start(nullptr);
    settle();
    EXPECT_TRUE(host->isPresenting());
    second.setParentItem(nullptr);
    second.setParent(nullptr);
    quick.reset();
    EXPECT_FALSE(host->isPresenting());
    EXPECT_EQ(platform::UIApplication::shared().keyWindow(), nullptr);
    events.reset();
}

TEST_F(QtQuickTest, APlayerEndsWithItsViewEvenIfNoFrameComesAnyMore) {
    startEmbedded();
    quick->hide();
    const std::weak_ptr<platform::AVPlayer> playing = player().player();
    events->playerVC->view()->removeFromSuperview();
    place->letGo(events->playerVC);
    events.reset();
    EXPECT_TRUE(playing.expired());
    EXPECT_EQ(fake.media->open(), 0u);
    quick->show();
    settle();
    EXPECT_EQ(colorAt(item->mapToScene({320, 180})), quick->color());
}

TEST_F(QtQuickTest, TheWindowInUseIsTheKeyWindow) {
    QQuickWindow other;
    host->attach(&other);
    host->attach(&other);
    EXPECT_TRUE(host->window(&other)->isKeyWindow());
    EXPECT_FALSE(host->window(quick.get())->isKeyWindow());
    host->detach(&other);
    EXPECT_EQ(host->window(&other), nullptr);
    Q_EMIT quick->activeChanged();
    EXPECT_TRUE(host->window(quick.get())->isKeyWindow());
}

}  // namespace korvel::tests
