#pragma once

#include <korvel/platform/foundation/Export.h>

#include <QtCore/QObject>

#include <functional>
#include <memory>

class QQuickItem;
class QQuickWindow;

namespace korvel::platform {

class Screen;
class UIView;
class UIWindow;

/// Shows a screen's views in Qt Quick windows and brings them mouse, touch and keyboard; says to
/// screen readers what they are. While it lives, the screen's main queue is the GUI thread.
///
/// GUI thread, after `QGuiApplication`. Windows, items, views and this may go in any order: what
/// it shows in a window or an item goes with that, and all of it with this.
class KORVEL_API ScreenHostQtQuick : public QObject {
    Q_OBJECT
    Q_PROPERTY(bool presenting READ isPresenting NOTIFY presentingChanged)
    Q_PROPERTY(int orientation READ orientation NOTIFY orientationChanged)

public:
    explicit ScreenHostQtQuick(std::shared_ptr<Screen> screen, QObject* parent = nullptr);
    ~ScreenHostQtQuick() override;

    const std::shared_ptr<Screen>& screen() const;

    /// Makes the window a place to present in: controllers presented there cover all of its
    /// content, popups excepted. While none is, the window's own items get all input. The window
    /// attached last, later the one that the user activates, is the key window. A second call for
    /// the same window does nothing.
    void attach(QQuickWindow* window);
    /// What is presented there ends at once.
    void detach(QQuickWindow* window);
    /// That of an attached window, with an empty root view controller; null for others. Borrowed:
    /// whoever keeps it keeps it without pixels once the window has gone.
    std::shared_ptr<UIWindow> window(QQuickWindow* window) const;

    /// The view that stands for a host's own item; the same one as long as it lives. Null for null.
    ///
    /// As the parent of a player it counts as shown in a window of its own: its subviews lie over
    /// the item's children, follow its size, and live as long as the item, which so must be told
    /// apart from an item that is merely invisible. As an overlay the item is put over the player,
    /// takes the size, opacity and visibility of the overlay, gets its input first, and returns to
    /// where it was when the player lets go of it.
    std::shared_ptr<UIView> view(QQuickItem* item);

    /// Asked when Escape or Back is pressed in full screen and no item of an overlay took it: true
    /// if it has seen to it, by `exitFullScreen` for example. Else the player closes.
    void setLeaveHandler(std::function<bool()> leave);

    /// Whether something covers an attached window: time to stop what runs underneath.
    bool isPresenting() const;
    /// The device's: 1 portrait, 3 and 4 landscape. The host turns its layout, or does not.
    int orientation() const;

Q_SIGNALS:
    void presentingChanged();
    void orientationChanged(int orientation);

private:
    void updatePresenting();

    class Private;
    std::unique_ptr<Private> private_;
};

}  // namespace korvel::platform
