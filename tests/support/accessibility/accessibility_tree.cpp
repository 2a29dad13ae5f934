// Prints what a screen reader finds in the programs on the accessibility bus; Tree.h tells how to
// use it. usage: accessibility_tree [--application PART_OF_NAME] [--process ID] [--do ACTION NAME]

#include <QtCore/QCoreApplication>
#include <QtCore/QThread>
#include <QtDBus/QtDBus>

#include <iostream>
#include <optional>

namespace {

using Bits = QList<uint>;

/// A thing on the bus: who answers for it, and under which path.
struct Place {
    QString service;
    QDBusObjectPath path;
};
using Places = QList<Place>;

struct Action {
    QString name;
    QString description;
    QString keys;
};
using Actions = QList<Action>;

QDBusArgument& operator<<(QDBusArgument& to, const Place& place) {
    to.beginStructure();
    to << place.service << place.path;
    to.endStructure();
    return to;
}
const QDBusArgument& operator>>(const QDBusArgument& from, Place& place) {
    from.beginStructure();
    from >> place.service >> place.path;
    from.endStructure();
    return from;
}
QDBusArgument& operator<<(QDBusArgument& to, const Action& action) {
    to.beginStructure();
    to << action.name << action.description << action.keys;
    to.endStructure();
    return to;
}
const QDBusArgument& operator>>(const QDBusArgument& from, Action& action) {
    from.beginStructure();
    from >> action.name >> action.description >> action.keys;
    from.endStructure();
    return from;
}

}  // namespace
Q_DECLARE_METATYPE(Place)
Q_DECLARE_METATYPE(Action)
namespace {

constexpr int patience = 5000;  // milliseconds, for each answer
constexpr int visibleBit = 30;
constexpr int showingBit = 25;

// By their numbers in the protocol; those that say nothing to a reader are left out.
const std::pair<int, const char*> states[] = {
    {3, "busy"},     {4, "checked"}, {7, "editable"}, {10, "expanded"}, {11, "focusable"},
    {12, "focused"}, {16, "modal"},  {20, "pressed"}, {23, "selected"}, {41, "checkable"},
};
constexpr int enabledBit = 8;

class Reader {
public:
    explicit Reader(QDBusConnection bus) : bus_(std::move(bus)) {}

    template <class T, class... Arguments>
    std::optional<T> ask(const Place& place, const char* interface, const char* method,
                         const Arguments&... arguments) {
        auto call = QDBusMessage::createMethodCall(
            place.service, place.path.path(),
            QLatin1String("org.a11y.atspi.") + QLatin1String(interface), QLatin1String(method));
        call.setArguments({QVariant::fromValue(arguments)...});
        const QDBusReply<T> reply = bus_.call(call, QDBus::Block, patience);
        return reply.isValid() ? std::optional<T>(reply.value()) : std::nullopt;
    }
    QVariant property(const Place& place, const char* interface, const char* name) {
        auto call = QDBusMessage::createMethodCall(
            place.service, place.path.path(), QStringLiteral("org.freedesktop.DBus.Properties"),
            QStringLiteral("Get"));
        call << QLatin1String("org.a11y.atspi.") + QLatin1String(interface) << QLatin1String(name);
        const QDBusReply<QDBusVariant> reply = bus_.call(call, QDBus::Block, patience);
        return reply.isValid() ? reply.value().variant() : QVariant();
    }
    Places children(const Place& place) {
        return ask<Places>(place, "Accessible", "GetChildren").value_or(Places());
    }
    QString name(const Place& place) { return property(place, "Accessible", "Name").toString(); }
    QStringList actions(const Place& place) {
        QStringList names;
        const auto found = ask<Actions>(place, "Action", "GetActions").value_or(Actions());
        for (const auto& action : found) names << action.name;
        return names;
    }
    /// Those programs that were asked for.
    Places programs(const QString& partOfName, uint process) {
        Places found;
        const Place registry{QStringLiteral("org.a11y.atspi.Registry"),
                             QDBusObjectPath("/org/a11y/atspi/accessible/root")};
        for (const auto& program : children(registry)) {
            if (process != 0 && bus_.interface()->servicePid(program.service) != process) continue;
            if (name(program).contains(partOfName)) found << program;
        }
        return found;
    }

    bool shows(const Place& place) {
        const auto bits = ask<Bits>(place, "Accessible", "GetState").value_or(Bits());
        return has(bits, visibleBit) && has(bits, showingBit);
    }
    void print(const Place& place, int depth) {
        const auto bits = ask<Bits>(place, "Accessible", "GetState").value_or(Bits());
        const auto interfaces =
            ask<QStringList>(place, "Accessible", "GetInterfaces").value_or(QStringList());
        const auto description = property(place, "Accessible", "Description").toString();
        QStringList line{
            ask<QString>(place, "Accessible", "GetRoleName").value_or(QStringLiteral("?")),
            quoted(name(place))};
        if (!description.isEmpty()) line << quoted(description);
        if (interfaces.contains(QStringLiteral("org.a11y.atspi.Value"))) {
            const auto number = [&](const char* what) {
                return QString::number(property(place, "Value", what).toDouble(), 'g', 3);
            };
            line << number("CurrentValue") + QStringLiteral(" of ") + number("MinimumValue") +
                        QStringLiteral(" to ") + number("MaximumValue");
        }
        for (const auto& [bit, word] : states) {
            if (has(bits, bit)) line << QLatin1String(word);
        }
        if (!has(bits, enabledBit)) line << QStringLiteral("disabled");
        const auto offered = actions(place);
        if (!offered.isEmpty()) line << QStringLiteral("does") << offered;
        std::cout << std::string(2 * static_cast<std::size_t>(depth), ' ')
                  << line.join(QLatin1Char(' ')).toStdString() << '\n';
    }
    void printAll(const Place& place, int depth) {
        if (depth > 0 && !shows(place)) return;
        print(place, depth);
        for (const auto& child : children(place)) printAll(child, depth + 1);
    }

    bool act(const Place& place, const QString& action, const QString& wanted) {
        if (name(place) == wanted) {
            const auto index = static_cast<int>(actions(place).indexOf(action));
            if (index >= 0) return ask<bool>(place, "Action", "DoAction", index).value_or(false);
        }
        const auto below = children(place);
        return std::any_of(below.begin(), below.end(),
                           [&](const auto& child) { return act(child, action, wanted); });
    }

private:
    static bool has(const Bits& bits, int bit) {
        return bit / 32 < bits.size() && (bits[bit / 32] >> (bit % 32) & 1) != 0;
    }
    static QString quoted(const QString& text) {
        return QLatin1Char('"') + text + QLatin1Char('"');
    }

    QDBusConnection bus_;
};

}  // namespace

int main(int argumentCount, char** rawArguments) {
    const QCoreApplication application(argumentCount, rawArguments);
    qDBusRegisterMetaType<Bits>();
    qDBusRegisterMetaType<Place>();
    qDBusRegisterMetaType<Places>();
    qDBusRegisterMetaType<Action>();
    qDBusRegisterMetaType<Actions>();
    const auto arguments = QCoreApplication::arguments();
    const auto after = [&](const char* option, qsizetype by) {
        const auto at = arguments.indexOf(QLatin1String(option));
        return at < 0 ? QString() : arguments.value(at + by);
    };

    const auto session = QDBusConnection::sessionBus();
    const QDBusReply<QString> address = session.call(QDBusMessage::createMethodCall(
        QStringLiteral("org.a11y.Bus"), QStringLiteral("/org/a11y/bus"),
        QStringLiteral("org.a11y.Bus"), QStringLiteral("GetAddress")));
    if (!address.isValid()) {
        std::cerr << "no accessibility bus: " << address.error().message().toStdString() << '\n';
        return 1;
    }
    Reader reader(QDBusConnection::connectToBus(address.value(), QStringLiteral("accessibility")));
    const auto programs = [&] {
        return reader.programs(after("--application", 1), after("--process", 1).toUInt());
    };
    // A program that has just started may not have told the registry yet.
    for (int tries = 50; programs().isEmpty() && tries > 0; --tries) QThread::msleep(100);
    const auto found = programs();
    const auto action = after("--do", 1);
    bool done = !found.isEmpty();
    for (const auto& program : found) {
        if (!action.isEmpty()) done = reader.act(program, action, after("--do", 2)) && done;
        reader.printAll(program, 0);
    }
    return done ? 0 : 1;
}
