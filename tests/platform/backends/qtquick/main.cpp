#include <gtest/gtest.h>
#include <QtCore/QDir>
#include <QtGui/QGuiApplication>

/// Offscreen and in software unless the environment wants other windows.
int main(int argumentCount, char** arguments) {
    const auto choose = [](const char* name, const char* value) {
        if (!qEnvironmentVariableIsSet(name)) qputenv(name, value);
    };
    choose("QT_QPA_PLATFORM", "offscreen");
    choose("QT_QUICK_BACKEND", "software");
    testing::InitGoogleTest(&argumentCount, arguments);
    const QGuiApplication application(argumentCount, arguments);
    return RUN_ALL_TESTS();
}
