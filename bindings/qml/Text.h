#pragma once

#include <QString>
#include <QStringList>
#include <optional>
#include <string>
#include <vector>

namespace korvel::qml {

// The SDK's texts are UTF-8, QML's are UTF-16.

inline QString text(const std::string& utf8) { return QString::fromStdString(utf8); }
/// An absent text is an empty one in QML.
inline QString text(const std::optional<std::string>& utf8) {
    return utf8 ? text(*utf8) : QString();
}
inline QStringList texts(const std::vector<std::string>& list) {
    QStringList result;
    result.reserve(static_cast<qsizetype>(list.size()));
    for (const auto& each : list) result.append(text(each));
    return result;
}
/// What the user left empty is no criterion.
inline std::optional<std::string> criterion(const QString& value) {
    return value.isEmpty() ? std::nullopt : std::optional(value.toStdString());
}

}  // namespace korvel::qml
