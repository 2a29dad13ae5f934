#include "platform/backends/qtquick/Fixture.h"

namespace korvel::tests {

TEST_F(QtQuickTest, ADragGoesOnWhenInteractionIsSwitchedOffAndSeeksWhereItEnds) {
    startEmbedded();
    showControls();
    auto& slider = *overlay().slider.get();
    const auto thumb = slider.thumbRect();
    const auto track = rectOf(slider);
    const auto grip = track.topLeft() + QPointF(thumb.midX(), thumb.midY());
    QTest::mousePress(quick.get(), Qt::LeftButton, {}, grip.toPoint());
    QPoint finger;
    for (const double way : {0.2, 0.4, 0.75}) {
        finger = QPointF(track.left() + way * track.width(), track.bottom() + 40).toPoint();
        QTest::mouseMove(quick.get(), finger);
        EXPECT_NEAR(slider.value(), 20 * way, 0.5) << "far below it, too";
        pass(100ms);
    }
    const float dropped = slider.value();
    EXPECT_TRUE(stream().seeks.empty());
    QTest::mouseRelease(quick.get(), Qt::LeftButton, {}, finger);
    run();
    ASSERT_EQ(stream().seeks.size(), 1u);
    EXPECT_NEAR(std::chrono::duration<double>(stream().seeks[0]).count(), dropped, 0.1);
}

namespace {

/// A host's own button, told of what it gets.
struct Plain final : QQuickItem {
    explicit Plain(QQuickItem* parent) : QQuickItem(parent) {
        setSize(parent->size());
        setAcceptedMouseButtons(Qt::LeftButton);
    }
    int presses = 0;
    int turns = 0;
    void mousePressEvent(QMouseEvent*) override { ++presses; }
    void wheelEvent(QWheelEvent*) override { ++turns; }
};

}  // namespace

TEST_F(QtQuickTest, TheHostsItemsGetWhatNoViewTakes) {
    Plain own(item);
    Plain around(quick->contentItem());
    around.setZ(-1);
    const QPointF inside = item->mapToScene({100, 100});
    const QPointF outside(20, 300);
    const auto expect = [&](int ownPresses, int presses, int turns, const char* why) {
        click(inside);
        click(outside);
        QWheelEvent turn(outside, outside, {}, {0, 120}, {}, {}, Qt::NoScrollPhase, false);
        QCoreApplication::sendEvent(quick.get(), &turn);
        EXPECT_EQ(own.presses, ownPresses) << why;
        EXPECT_EQ(around.presses, presses) << why;
        EXPECT_EQ(around.turns, turns) << why;
    };
    expect(1, 1, 1, "the item has no player yet");
    startEmbedded();
    expect(1, 2, 2, "the player lies over the item");
    events->enterFullScreen();
    passAndShow(1s);
    expect(1, 2, 2, "it covers everything");
    events->stopVideo();
    run();
    expect(2, 3, 3, "also while the player still fades away");
}

}  // namespace korvel::tests
