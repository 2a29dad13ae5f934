#include "platform/backends/qtquick/Fixture.h"
#include "support/accessibility/Tree.h"

#include <QtQml/QQmlComponent>
#include <QtQml/QQmlEngine>

namespace korvel::tests {

/// What another program is told by this one's windows; only where there is a bus to ask on.
class AccessibilityBusTest : public QtQuickTest {
protected:
    QQmlEngine engine;
    std::unique_ptr<QQuickItem> page;

    void SetUp() override {
        if (!qEnvironmentVariableIsSet("QT_LINUX_ACCESSIBILITY_ALWAYS_ON")) {
            GTEST_SKIP() << "not on an accessibility bus: qtquick.on_accessibility_bus is";
        }
        QtQuickTest::SetUp();
        QQmlComponent component(&engine);
        component.setData(
            "import QtQuick\n"
            "Item { width: 40; height: 40; Accessible.role: Accessible.Button;"
            "       Accessible.name: 'On the page' }",
            {});
        page.reset(qobject_cast<QQuickItem*>(component.create()));
        ASSERT_TRUE(page);
        page->setParentItem(quick->contentItem());
    }
    void TearDown() override {
        page.reset();
        if (quick) QtQuickTest::TearDown();
    }
    /// The lines of the tree from the window on, without their indentation.
    std::vector<std::string> lines(const QStringList& action = {}) {
        const auto tree = QString::fromStdString(accessibilityTree(action));
        std::vector<std::string> found;
        for (const auto& line : tree.split('\n', Qt::SkipEmptyParts).mid(2)) {
            found.push_back(line.trimmed().toStdString());
        }
        settle();
        return found;
    }
};

using Lines = std::vector<std::string>;

TEST_F(AccessibilityBusTest, APlayerSaysWhatItIsAndIsUsedWithoutBeingSeen) {
    const std::string behind = R"(push button "On the page" focusable does Press SetFocus)";
    EXPECT_EQ(lines(), Lines{behind});
    startEmbedded();
    const std::string show = R"(push button "Show controls" focusable does Press SetFocus)";
    EXPECT_EQ(lines(), (Lines{show, behind})) << "hidden, and reached";
    lines({"--do", "Press", "Show controls"});
    passAndShow(1s);
    const auto goTo12 = [&] {
        events->seekTo(12);
        passAndShow(10ms);
    };
    goTo12();
    const auto shown = [](const char* state, const char* time) {
        return Lines{
            R"(push button "Hide controls" focusable does Press SetFocus)",
            R"(label "Name c1")",
            std::string(R"(slider "Position" ")") + time +
                " focusable does Increase Decrease SetFocus",
            std::string(R"(push button "Play or pause" ")") + state +
                R"(" focusable does Press SetFocus)",
            R"(push button "Close" focusable does Press SetFocus)",
        };
    };
    auto wanted = shown("playing", R"(0:12 of 0:20" 12 of 0 to 20)");
    wanted.push_back(behind);
    EXPECT_EQ(lines(), wanted);
    events->enterFullScreen();
    passAndShow(1s);
    goTo12();
    wanted.pop_back();
    wanted[0].replace(wanted[0].find("does"), 0, "focused ");  // the picture
    EXPECT_EQ(lines(), wanted) << "what it covers is not there";

    listener->told.clear();
    lines({"--do", "Press", "Play or pause"});
    EXPECT_EQ(listener->told, Lines{"status 0"});
    EXPECT_EQ(lines()[3], shown("paused", "")[3]);
    lines({"--do", "Increase", "Position"});
    EXPECT_EQ(stream().seeks.size(), 3u);
    buffered(true);
    const auto focused = lines({"--do", "SetFocus", "Position"});
    EXPECT_NE(focused[2].find("focusable focused"), std::string::npos) << focused[2];

    lines({"--do", "Press", "Close"});
    run();
    passAndShow(1s);
    EXPECT_EQ(lines(), Lines{behind});
}

}  // namespace korvel::tests
