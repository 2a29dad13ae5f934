#include <korvel/platform/backends/qtquick/PumpQt.h>
#include <korvel/platform/uikit/Screen.h>

#include <QtCore/QCoreApplication>
#include <QtCore/QEvent>
#include <QtCore/QThread>

#include <algorithm>

namespace korvel::platform::qtquick {

using std::chrono::milliseconds;

PumpQt::PumpQt(const std::shared_ptr<Screen>& screen) : screen_(screen) {
    timer_.setSingleShot(true);
    timer_.setTimerType(Qt::PreciseTimer);
    QObject::connect(&timer_, &QTimer::timeout, this, &PumpQt::run);
}

void PumpQt::attach(const std::shared_ptr<Screen>& screen) {
    // The queue's last word may come from any thread; the timer can only end on its own.
    const auto release = [](PumpQt* pump) {
        if (pump->thread() == QThread::currentThread()) {
            delete pump;
        } else {
            pump->deleteLater();
        }
    };
    screen->mainQueue().attach(std::shared_ptr<PumpQt>(new PumpQt(screen), release));
}

void PumpQt::wakeAt(Clock::Instant) {
    // A drain finds out when the next one is due, so one event serves all times.
    if (!posted_.exchange(true)) QCoreApplication::postEvent(this, new QEvent(QEvent::User));
}

void PumpQt::customEvent(QEvent*) { run(); }

void PumpQt::run() {
    posted_ = false;
    const auto screen = screen_.lock();
    if (!screen) return;
    const auto next = screen->mainQueue().drain();
    if (!next) return timer_.stop();
    constexpr milliseconds longest = std::chrono::hours(24);  // what a timer can count
    const auto now = screen->clock().now();
    const auto wait =
        *next <= now
            ? milliseconds(0)
            : std::chrono::ceil<milliseconds>(std::min<Clock::Duration>(*next - now, longest));
    timer_.start(wait);
}

}  // namespace korvel::platform::qtquick
