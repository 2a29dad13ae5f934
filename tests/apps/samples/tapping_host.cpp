#include <QGuiApplication>
#include <QQmlApplicationEngine>
#include <QQuickItem>
#include <QQuickWindow>
#include <QtTest>

/// What loads a host in QML, with a finger that taps its first class and a clock that ends it.
/// usage: tapping_host IMPORTS FILE
int main(int argc, char** argv) {
    const QList<QByteArray> names{"KORVEL_URL",    "KORVEL_API_KEY", "KORVEL_SECRET_KEY",
                                  "KORVEL_TENANT", "KORVEL_USER",    "KORVEL_CA"};
    QList<QByteArray> texts{argv[0], "--"};
    for (const auto& name : names) texts.append(qgetenv(name));
    std::vector<char*> arguments;
    for (auto& text : texts) arguments.push_back(text.data());
    int count = static_cast<int>(arguments.size());
    QGuiApplication application(count, arguments.data());
    QQmlApplicationEngine engine;
    engine.addImportPath(QString::fromLocal8Bit(argv[argc - 2]));
    engine.load(QUrl::fromLocalFile(QString::fromLocal8Bit(argv[argc - 1])));
    if (engine.rootObjects().isEmpty()) return 1;
    auto* window = qobject_cast<QQuickWindow*>(engine.rootObjects().first());
    const auto itemWith = [window](const char* property) -> QQuickItem* {
        for (auto* item : window->findChildren<QQuickItem*>()) {
            if (item->property(property).isValid() && item->height() > 0) return item;
        }
        return nullptr;
    };
    const auto isFilled = [&] {
        auto* list = itemWith("contentY");
        return list && list->isVisible() && list->property("count").toInt() > 0;
    };
    if (!QTest::qWaitFor(isFilled, 20000)) return 2;
    QTest::mouseClick(window, Qt::LeftButton, {}, {20, 6});
    auto* player = itemWith("performedSeconds");
    if (!player ||
        !QTest::qWaitFor([&] { return player->property("position").toReal() > 1; }, 60000))
        return 3;
    QTimer::singleShot(0, &application, &QCoreApplication::quit);
    return QGuiApplication::exec();
}
