#include "platform/backends/qtquick/Fixture.h"

#include <QtGui/QAccessible>

#include <map>

namespace korvel::tests {

using Lines = std::vector<std::string>;

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

TEST_F(QtQuickTest, TheKeyboardReachesEveryControlAndShowsWhereItIs) {
    startEmbedded();
    const auto dark = [&](UIView& around) {
        return colorAt(rectOf(around).topLeft() + QPointF(20, -2)).red();
    };
    key(Qt::Key_Tab);  // the player itself
    key(Qt::Key_Return);
    EXPECT_EQ(overlay().viewTap->alpha(), 0.6) << "shows the controls";
    passAndShow(1s);
    const int plain = dark(*overlay().btnPlay.get());
    key(Qt::Key_Tab);
    for (const auto way : {Qt::Key_Left, Qt::Key_Right, Qt::Key_End}) {
        key(way);
        run();
    }
    ASSERT_EQ(stream().seeks.size(), 3u);
    const std::chrono::duration<double> step = stream().seeks[1] - stream().seeks[0];
    EXPECT_NEAR(step.count(), 0.2, 0.01) << "a hundredth";
    EXPECT_EQ(stream().seeks[2], 20s);

    key(Qt::Key_Tab);
    settle();
    EXPECT_GT(dark(*overlay().btnPlay.get()), plain + 40) << "the ring";
    listener->told.clear();
    key(Qt::Key_Space);
    key(Qt::Key_Return);
    EXPECT_EQ(listener->told, (Lines{"status 0", "status 1"}));
    click(rectOf(*overlay().lblTitle.get()).center());  // hides them; the pointer needs no ring
    settle();
    listener->told.clear();
    key(Qt::Key_Space);
    EXPECT_EQ(listener->told, (Lines{"status 0"})) << "with no control to take it";
    key(Qt::Key_Escape);
    run();
    EXPECT_TRUE(place->subviews().empty());
}

TEST_F(QtQuickTest, FullScreenKeepsTheFocusAndGivesItBack) {
    QQuickItem field(quick->contentItem());
    field.setActiveFocusOnTab(true);
    field.forceActiveFocus();
    startEmbedded();
    events->enterFullScreen();
    passAndShow(1s);
    EXPECT_NE(quick->activeFocusItem(), &field);
    key(Qt::Key_Return);
    passAndShow(1s);
    for (int turn = 0; turn < 7; ++turn) {
        key(turn < 4 ? Qt::Key_Tab : Qt::Key_Backtab);
        EXPECT_NE(quick->activeFocusItem(), &field);
    }
    events->exitFullScreen();
    passAndShow(1s);
    EXPECT_EQ(quick->activeFocusItem(), &field);
}

namespace {

using Found = std::map<std::string, QAccessibleInterface*>;

/// Everything in the window that has a name, by that.
void collect(QAccessibleInterface* at, Found& found) {
    const auto name = at->text(QAccessible::Name).toStdString();
    if (!name.empty()) found[name] = at;
    for (int i = 0; i < at->childCount(); ++i) collect(at->child(i), found);
}

}  // namespace

TEST_F(QtQuickTest, ScreenReadersHearNamesAndRolesAndCanUseThem) {
    startEmbedded();
    showControls();
    overlay().viewLoader->setHidden(false);
    settle();
    Found found;
    collect(QAccessible::queryAccessibleInterface(quick.get()), found);
    const std::pair<const char*, QAccessible::Role> wanted[] = {
        {"Play or pause", QAccessible::Button}, {"Close", QAccessible::Button},
        {"Position", QAccessible::Slider},      {"Name c1", QAccessible::StaticText},
        {"Loading", QAccessible::ProgressBar},
    };
    for (const auto& [name, role] : wanted) {
        ASSERT_TRUE(found.contains(name)) << name;
        EXPECT_EQ(found[name]->role(), role) << name;
        EXPECT_FALSE(found[name]->state().invisible) << name;
    }
    listener->told.clear();
    found["Play or pause"]->actionInterface()->doAction(QAccessibleActionInterface::pressAction());
    EXPECT_EQ(listener->told, Lines{"status 0"});
    auto* const value = found["Position"]->valueInterface();
    EXPECT_EQ(value->maximumValue().toDouble(), 20);
    value->setCurrentValue(5.);
    run();
    EXPECT_EQ(stream().seeks, std::vector<std::chrono::nanoseconds>{5s});
    EXPECT_NEAR(value->currentValue().toDouble(), 5, 0.01);
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
