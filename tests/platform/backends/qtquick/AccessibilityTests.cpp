#include "platform/backends/qtquick/Fixture.h"
#include "support/accessibility/Tree.h"

namespace korvel::tests {

/// What another program is told by this one's windows; only where there is a bus to ask on.
class AccessibilityBusTest : public QtQuickTest {
protected:
    void SetUp() override {
        if (!qEnvironmentVariableIsSet("QT_LINUX_ACCESSIBILITY_ALWAYS_ON")) {
            GTEST_SKIP() << "not on an accessibility bus: qtquick.on_accessibility_bus is";
        }
        QtQuickTest::SetUp();
    }
};

TEST_F(AccessibilityBusTest, ControlsAreOnTheBusWithWhatTheyDo) {
    startEmbedded();
    showControls();
    const auto tree = accessibilityTree();
    EXPECT_NE(tree.find("slider \"Position\""), std::string::npos) << tree;
    listener->told.clear();
    EXPECT_FALSE(accessibilityTree({"--do", "Press", "Play or pause"}).empty());
    EXPECT_EQ(listener->told, std::vector<std::string>{"status 0"});
}

}  // namespace korvel::tests
