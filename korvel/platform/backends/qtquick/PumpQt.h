#pragma once

#include <korvel/platform/foundation/MainQueue.h>

#include <QtCore/QObject>
#include <QtCore/QTimer>

#include <atomic>
#include <memory>

namespace korvel::platform {

class Screen;

namespace qtquick {

/// Runs a screen's main queue from the event loop of the thread that it was made on.
class PumpQt final : public QObject, public Pump {
public:
    /// The queue is driven from here until it gets another pump, or none.
    static void attach(const std::shared_ptr<Screen>& screen);

    void wakeAt(Clock::Instant time) override;

protected:
    void customEvent(QEvent* event) override;

private:
    explicit PumpQt(const std::shared_ptr<Screen>& screen);
    void run();

    const std::weak_ptr<Screen> screen_;
    QTimer timer_;
    std::atomic<bool> posted_ = false;
};

}  // namespace qtquick
}  // namespace korvel::platform
