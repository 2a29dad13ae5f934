#include "Driver.h"

#include <QAccessible>
#include <QDateTime>
#include <QDir>
#include <QImage>
#include <QPointer>
#include <QQmlApplicationEngine>
#include <QTest>
#include <QWheelEvent>
#include <cstdio>
#include <exception>
#include <stdexcept>
#include <utility>

namespace tour {

namespace {

constexpr int patience = 20000;  // milliseconds

using Wanted = std::function<bool(QQuickItem&)>;

/// The topmost that is wanted, and that somebody could see.
QQuickItem* search(QQuickItem* below, const Wanted& wanted) {
    if (!below->isVisible() || below->opacity() <= 0) return nullptr;
    if (wanted(*below) && below->isEnabled()) return below;
    const auto children = below->childItems();
    for (auto child = children.rbegin(); child != children.rend(); ++child) {
        if (auto* found = search(*child, wanted)) return found;
    }
    return nullptr;
}

QPointF centreOf(const QQuickItem& item) {
    return item.mapToScene({item.width() / 2, item.height() / 2});
}

}  // namespace

Driver::Driver(QQuickWindow& window, QString folder) : window_(window), folder_(std::move(folder)) {
    QDir().mkpath(folder_);
    window_.requestActivate();
    if (!QTest::qWaitForWindowActive(&window_)) giveUp(QStringLiteral("an active window"));
}

void Driver::step(const char* title) {
    std::printf("-- %s\n", title);
    std::fflush(stdout);
}

void Driver::giveUp(const QString& what) {
    shoot("gave-up");
    const auto* focus = window_.activeFocusItem();
    throw std::runtime_error("this did not come about: " + what.toStdString() + "; keys go to " +
                             (focus ? focus->metaObject()->className() : "nothing") + " " +
                             (focus ? focus->objectName().toStdString() : ""));
}

void Driver::waitUntil(const char* what, const std::function<bool()>& come) {
    if (!QTest::qWaitFor(come, patience)) giveUp(QString::fromUtf8(what));
}

void Driver::pause(int milliseconds) { QTest::qWait(milliseconds); }

QQuickItem& Driver::need(const QString& what, const std::function<QQuickItem*()>& find) {
    QQuickItem* found = nullptr;
    if (!QTest::qWaitFor([&] { return (found = find()) != nullptr; }, patience)) giveUp(what);
    return *found;
}

QQuickItem& Driver::see(const QString& objectName) {
    return need(objectName, [&] {
        return search(window_.contentItem(),
                      [&](QQuickItem& item) { return item.objectName() == objectName; });
    });
}

bool Driver::sees(const QString& objectName) const {
    return search(window_.contentItem(),
                  [&](QQuickItem& item) { return item.objectName() == objectName; }) != nullptr;
}

QQuickItem& Driver::hear(const QString& accessibleName) {
    return need(accessibleName, [&] {
        return search(window_.contentItem(), [&](QQuickItem& item) {
            auto* heard = QAccessible::queryAccessibleInterface(&item);
            return heard && heard->text(QAccessible::Name) == accessibleName;
        });
    });
}

void Driver::moveTo(QPointF scenePoint) { QTest::mouseMove(&window_, scenePoint.toPoint()); }

void Driver::click(QPointF scenePoint) {
    moveTo(scenePoint);
    QTest::mouseClick(&window_, Qt::LeftButton, {}, scenePoint.toPoint());
}

void Driver::click(QQuickItem& item) { click(centreOf(item)); }

void Driver::drag(QPointF from, QPointF to) {
    constexpr int moves = 12;
    moveTo(from);
    QTest::mousePress(&window_, Qt::LeftButton, {}, from.toPoint());
    for (int each = 1; each <= moves; ++each) {
        moveTo(from + (to - from) * each / moves);
        pause(16);
    }
    QTest::mouseRelease(&window_, Qt::LeftButton, {}, to.toPoint());
}

void Driver::key(Qt::Key key) { QTest::keyClick(&window_, key); }

QQuickItem& Driver::focused() {
    const QRectF seen({}, QSizeF(window_.size()));
    return need(QStringLiteral("something in view that has the focus"), [&]() -> QQuickItem* {
        auto* item = window_.activeFocusItem();
        const bool isStop = item && item->isVisible() && item->activeFocusOnTab();
        return isStop && seen.contains(centreOf(*item)) ? item : nullptr;
    });
}

void Driver::walkTo(QQuickItem& item) {
    constexpr int longestWay = 60;
    constexpr int scrolling = 220;
    const QPointer<QQuickItem> target(&item);
    for (int steps = 0; steps < longestWay; ++steps) {
        auto& from = focused();
        if (&from == target) return;
        if (!target) giveUp(QStringLiteral("the item to walk to, which has gone"));
        const auto here = from.mapRectToScene(from.boundingRect());
        const auto there = target->mapRectToScene(target->boundingRect());
        const bool level = here.top() < there.bottom() && there.top() < here.bottom();
        const auto aside = there.center().x() < here.center().x() ? Qt::Key_Left : Qt::Key_Right;
        const auto along = there.center().y() < here.center().y() ? Qt::Key_Up : Qt::Key_Down;
        key(level ? aside : along);
        pause(scrolling);
        if (&focused() == &from) key(level ? along : aside);
    }
    giveUp(QStringLiteral("a way to ") + item.objectName());
}

void Driver::choose(const QString& objectName) {
    walkTo(see(objectName));
    key(Qt::Key_Return);
}

void Driver::type(const QString& text) {
    for (const auto letter : text) {
        QTest::keyClick(&window_, letter.toLatin1());
        pause(20);
    }
}

void Driver::scroll(QQuickItem& over, int notches) {
    constexpr int notch = -120;
    const auto at = centreOf(over);
    for (int each = 0; each < notches; ++each) {
        QWheelEvent wheel(at, window_.mapToGlobal(at), {}, {0, notch}, Qt::NoButton, {},
                          Qt::NoScrollPhase, false);
        wheel.setTimestamp(static_cast<quint64>(QDateTime::currentMSecsSinceEpoch()));
        QCoreApplication::sendEvent(&window_, &wheel);
        pause(16);
    }
}

void Driver::shoot(const char* name) {
    const auto file = QStringLiteral("%1/%2-%3.png")
                          .arg(folder_)
                          .arg(++shots_, 2, 10, QLatin1Char('0'))
                          .arg(name);
    if (!window_.grabWindow().save(file)) {
        throw std::runtime_error("cannot write " + file.toStdString());
    }
    std::printf("   %s\n", qPrintable(file));
    std::fflush(stdout);
}

int run(const char* program, QVariantMap properties,
        const std::function<void(QQuickWindow&)>& use) {
    QVariantMap settings{
        {"applicationName", "korvel-showcase"}, {"quiet", true}, {"audioSink", "fakesink"}};
    constexpr std::pair<const char*, const char*> variables[] = {
        {"baseURL", "KORVEL_URL"},
        {"apiKey", "KORVEL_API_KEY"},
        {"secretKey", "KORVEL_SECRET_KEY"},
        {"tenantId", "KORVEL_TENANT"},
        {"dataFolder", "KORVEL_DATA_FOLDER"},
        {"certificateAuthorityFile", "KORVEL_CA"}};
    for (const auto& [key, name] : variables) settings.insert(key, qEnvironmentVariable(name));
    properties.insert("settings", settings);
    QQmlApplicationEngine engine;
    engine.setInitialProperties(properties);
    engine.load(QStringLiteral("qrc:/qt-project.org/imports/Showcase/Main.qml"));
    const auto roots = engine.rootObjects();
    auto* const window = roots.isEmpty() ? nullptr : qobject_cast<QQuickWindow*>(roots.first());
    if (!window) return 1;
    try {
        use(*window);
        return 0;
    } catch (const std::exception& failure) {
        std::fprintf(stderr, "%s: %s\n", program, failure.what());
        return 1;
    }
}

}  // namespace tour
