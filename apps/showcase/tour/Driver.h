#pragma once

#include <QQuickItem>
#include <QQuickWindow>
#include <QString>
#include <QVariantMap>
#include <functional>

namespace tour {

/// The hands and eyes of somebody who uses the application: real mouse and key events, and items
/// found as they are seen, or as a screen reader finds them. Whatever does not come about within
/// its bound is a std::runtime_error, after a last picture.
class Driver {
public:
    /// `folder` is where pictures go; it is made.
    Driver(QQuickWindow& window, QString folder);

    /// Announces what comes next.
    void step(const char* title);
    /// The visible item of that object name, once there is one.
    QQuickItem& see(const QString& objectName);
    /// The same by the name that screen readers read.
    QQuickItem& hear(const QString& accessibleName);
    bool sees(const QString& objectName) const;
    void waitUntil(const char* what, const std::function<bool()>& come);
    /// Lets the application go on.
    void pause(int milliseconds);

    void moveTo(QPointF scenePoint);
    void click(QPointF scenePoint);
    void click(QQuickItem& item);
    void drag(QPointF from, QPointF to);
    void key(Qt::Key key);
    /// What keys go to, which has to be in view.
    QQuickItem& focused();
    /// By arrow keys alone, as somebody with a remote control would go there.
    void walkTo(QQuickItem& item);
    /// The same, and OK.
    void choose(const QString& objectName);
    void type(const QString& text);
    void scroll(QQuickItem& over, int notches);
    /// Writes the next numbered picture.
    void shoot(const char* name);

private:
    QQuickItem& need(const QString& what, const std::function<QQuickItem*()>& find);
    [[noreturn]] void giveUp(const QString& what);

    QQuickWindow& window_;
    QString folder_;
    int shots_ = 0;
};

/// Shows the application, with a service that the environment names and without sound, and lets
/// `use` have its window. The program's exit code; `program` says why it is not 0.
int run(const char* program, QVariantMap properties, const std::function<void(QQuickWindow&)>& use);

}  // namespace tour
