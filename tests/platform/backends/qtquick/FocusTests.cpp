#include "platform/backends/qtquick/Fixture.h"

#include <korvel/platform/uikit/UIButton.h>

#include <set>

namespace korvel::tests {

using Lines = std::vector<std::string>;
using platform::CGRect;
using platform::UIButton;

namespace {

/// Something on a page to go to, or in an overlay; it takes OK alone, and counts what it got.
struct Stop final : QQuickItem {
    explicit Stop(QQuickItem* parent, QRectF rect = {0, 0, 40, 40}) : QQuickItem(parent) {
        setPosition(rect.topLeft());
        setSize(rect.size());
        setActiveFocusOnTab(true);
    }
    int changes = 0;
    std::vector<int> keys;
    void itemChange(ItemChange change, const ItemChangeData& data) override {
        if (change == ItemActiveFocusHasChanged) ++changes;
        QQuickItem::itemChange(change, data);
    }
    void keyPressEvent(QKeyEvent* event) override {
        keys.push_back(event->key());
        event->setAccepted(event->key() == Qt::Key_Return);
    }
};

}  // namespace

class FocusTest : public QtQuickTest {
protected:
    std::unique_ptr<Stop> page;

    void SetUp() override {
        QtQuickTest::SetUp();
        page = std::make_unique<Stop>(quick->contentItem());
        page->forceActiveFocus();
    }
    void TearDown() override {
        page.reset();
        QtQuickTest::TearDown();
    }
    QQuickItem* focus() const { return quick->activeFocusItem(); }
    /// In the middle of that view.
    bool isOn(UIView& view) {
        const auto rect = focus()->mapRectToScene(focus()->boundingRect());
        return rect.center().toPoint() == rectOf(view).center().toPoint();
    }
    void press(Qt::Key pressed) {
        key(pressed);
        run();
        settle();
    }
    void goFullScreen() {
        events->enterFullScreen();
        passAndShow(1s);
    }
};

TEST_F(FocusTest, TheKeyboardReachesEveryControlAndShowsWhereItIs) {
    startEmbedded();
    const auto dark = [&](UIView& around) {
        return colorAt(rectOf(around).topLeft() + QPointF(20, -2)).red();
    };
    key(Qt::Key_Tab);  // the player itself
    key(Qt::Key_Return);
    EXPECT_EQ(overlay().viewTap->alpha(), 0.6) << "shows the controls";
    EXPECT_TRUE(isOn(*overlay().btnPlay.get()));
    passAndShow(1s);
    const int ringed = dark(*overlay().btnPlay.get());
    listener->told.clear();
    key(Qt::Key_Space);
    key(Qt::Key_Return);
    EXPECT_EQ(listener->told, (Lines{"status 0", "status 1"}));
    key(Qt::Key_Down);
    EXPECT_TRUE(isOn(*overlay().slider.get()));
    for (const auto way : {Qt::Key_Left, Qt::Key_Right, Qt::Key_End}) press(way);
    ASSERT_EQ(stream().seeks.size(), 3u);
    const std::chrono::duration<double> step = stream().seeks[1] - stream().seeks[0];
    EXPECT_NEAR(step.count(), 0.2, 0.01) << "a hundredth";
    EXPECT_EQ(stream().seeks[2], 20s);
    buffered(true);
    settle();
    EXPECT_GT(ringed, dark(*overlay().btnPlay.get()) + 40) << "the ring has moved on";

    click(rectOf(*overlay().lblTitle.get()).center());  // hides them; the pointer needs no ring
    settle();
    listener->told.clear();
    key(Qt::Key_Space);
    EXPECT_EQ(listener->told, (Lines{"status 0"})) << "with no control to take it";
    key(Qt::Key_Escape);
    run();
    EXPECT_TRUE(place->subviews().empty());
}

TEST_F(FocusTest, ARemoteControlDoesEverythingInFullScreen) {
    startEmbedded();
    goFullScreen();
    const std::pair<Qt::Key, UIView*> ways[] = {
        {Qt::Key_Left, overlay().btnPlay.get().get()},  // shows the controls, and does no more
        {Qt::Key_Down, overlay().slider.get().get()},
        {Qt::Key_Up, overlay().btnPlay.get().get()},
        {Qt::Key_Right, overlay().btnPlay.get().get()},
        {Qt::Key_Up, overlay().btnClose.get().get()},
        {Qt::Key_Up, window.get()},  // the picture
        {Qt::Key_Up, overlay().slider.get().get()},
        {Qt::Key_Down, window.get()},
        {Qt::Key_Down, overlay().btnClose.get().get()},
        {Qt::Key_Right, overlay().btnPlay.get().get()},
    };
    for (const auto& [way, wanted] : ways) {
        press(way);
        EXPECT_TRUE(isOn(*wanted)) << way << " to " << &way - &ways[0].first;
        passAndShow(1s);
    }
    EXPECT_TRUE(stream().seeks.empty());
    EXPECT_TRUE(overlay().controlsShown());
    listener->told.clear();
    press(Qt::Key_Select);
    EXPECT_EQ(listener->told, Lines{"status 0"});

    buffered(false);  // hides the button while the loader is shown
    settle();
    EXPECT_TRUE(isOn(*window));
    buffered(true);
    settle();
    EXPECT_TRUE(isOn(*overlay().btnPlay.get())) << "back with it";

    press(Qt::Key_Up);
    press(Qt::Key_Up);
    press(Qt::Key_Select);
    EXPECT_FALSE(overlay().controlsShown()) << "OK on the picture hides them";
    press(Qt::Key_Tab);
    EXPECT_TRUE(isOn(*overlay().btnPlay.get()));
    press(Qt::Key_Back);
    passAndShow(1s);
    EXPECT_FALSE(host->isPresenting());
    EXPECT_EQ(focus(), page.get());
}

TEST_F(FocusTest, WhatIsCoveredGetsNeitherFocusNorKeysWhoeversTheOverlay) {
    enum Overlay { sdks, items, views };
    for (const auto kind : {sdks, items, views}) {
        QQuickItem own(quick->contentItem());
        Stop one(&own, {100, 400, 60, 60});
        Stop two(&own, {300, 400, 60, 60});
        const auto tree = platform::make<UIView>(CGRect{0, 0, 800, 600});
        for (const double x : {100., 300.}) {
            tree->addSubview(platform::make<UIButton>(CGRect{x, 400, 60, 60}));
        }
        start(nullptr, 200, std::nullopt,
              kind == items   ? host->view(&own)
              : kind == views ? tree
                              : nullptr);
        becomeReady();
        passAndShow(1s);
        ASSERT_TRUE(host->isPresenting()) << kind;
        page->changes = 0;
        page->keys.clear();
        for (const auto round : {Qt::Key_Tab, Qt::Key_Backtab}) {
            std::set<QQuickItem*> visited;
            for (int turn = 0; turn < 7; ++turn) {
                press(round);
                visited.insert(focus());
                if (turn == 3) passAndShow(1s);
            }
            EXPECT_EQ(visited.size(), kind == sdks ? 3u : 2u) << kind;
            EXPECT_EQ(visited.contains(&one) && visited.contains(&two), kind == items);
        }
        for (const auto way : {Qt::Key_Left, Qt::Key_Right, Qt::Key_Down}) press(way);
        if (kind == items) {
            one.forceActiveFocus();
            press(Qt::Key_Right);
            EXPECT_EQ(focus(), &two) << "by its direction";
            press(Qt::Key_Return);
            EXPECT_EQ(two.keys.back(), Qt::Key_Return);
        }
        page->forceActiveFocus();  // the host means well
        EXPECT_NE(focus(), page.get());
        press(Qt::Key_Space);
        EXPECT_TRUE(page->keys.empty()) << kind;
        EXPECT_LE(page->changes, 2) << "but for that one wish, which came to nothing";
        if (kind != items) focus()->setFocus(false);  // nothing has it
        press(Qt::Key_Escape);
        passAndShow(1s);
        EXPECT_FALSE(host->isPresenting()) << kind;
        EXPECT_EQ(focus(), page.get()) << kind;
        events.reset();
        ASSERT_TRUE(fake.session->waitForPending());
        fake.session->answer(200, "{}");  // the record of the performance
    }
}

TEST_F(FocusTest, FocusReturnsToWhereItWasInThePlayerThatWasFullScreen) {
    QQuickItem own(quick->contentItem());
    Stop inOwn(&own, {10, 10, 60, 60});
    for (const bool ours : {true, false}) {
        own.setVisible(!ours);
        start(place, 200, std::nullopt, ours ? nullptr : host->view(&own));
        becomeReady();
        settle();
        page->forceActiveFocus();
        press(Qt::Key_Tab);
        if (ours) press(Qt::Key_Return);
        if (ours) press(Qt::Key_Down);
        if (!ours) inOwn.forceActiveFocus();
        const auto isThere = [&] {
            return ours ? isOn(*overlay().slider.get()) : focus() == &inOwn;
        };
        EXPECT_TRUE(isThere()) << ours;
        goFullScreen();
        press(Qt::Key_Tab);
        host->setLeaveHandler([&] {
            events->exitFullScreen();
            return true;
        });
        press(Qt::Key_Escape);
        passAndShow(1s);
        EXPECT_FALSE(host->isPresenting());
        EXPECT_TRUE(player().player()) << "the host wanted it to go on";
        EXPECT_TRUE(isThere()) << ours;
        host->setLeaveHandler(nullptr);
        events->stopVideo();
        settle();
        events.reset();
        ASSERT_TRUE(fake.session->waitForPending());
        fake.session->answer(200, "{}");
    }
}

}  // namespace korvel::tests
