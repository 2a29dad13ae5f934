#pragma once

#include <QtCore/QEventLoop>
#include <QtCore/QProcess>
#include <QtCore/QStringList>

#include <string>

namespace korvel::tests {

/// What a screen reader finds in this program's windows, asked for over a real accessibility bus by
/// a program of its own, `accessibility_tree`. A line for each thing, below and to the right of
/// what holds it, and only what shows:
///
///     push button "Close" focusable focused does Press
///     slider "Position" "0:12 of 0:30" 12 of 0 to 30 focusable does Increase Decrease Show
///
/// that is role, name, description, value, states and actions. `--do ACTION NAME` does one of the
/// latter first.
///
/// The test needs a bus and windows that tell it: start it as `on-bus TEST`, in CMake
/// `korvel_on_accessibility_bus(NAME COMMAND ...)`. By hand, for any Qt program:
///
///     tests/support/accessibility/on-bus sh -c 'PROGRAM & sleep 2; BUILD/.../accessibility_tree;
///     kill $!'
///
/// Events go on meanwhile, since it is this thread that answers. Empty if nothing was found.
inline std::string accessibilityTree(QStringList arguments = {}) {
    QProcess reader;
    QEventLoop loop;
    QObject::connect(&reader, &QProcess::finished, &loop, &QEventLoop::quit);
    QObject::connect(&reader, &QProcess::errorOccurred, &loop, &QEventLoop::quit);
    reader.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    arguments << QStringLiteral("--process") << QString::number(QCoreApplication::applicationPid());
    reader.start(QStringLiteral(KORVEL_ACCESSIBILITY_TREE), arguments);
    loop.exec();
    return reader.readAllStandardOutput().toStdString();
}

}  // namespace korvel::tests
