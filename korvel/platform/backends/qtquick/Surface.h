#pragma once

#include <korvel/platform/backends/qtquick/FocusOrder.h>
#include <korvel/platform/backends/qtquick/ViewItem.h>
#include <korvel/platform/uikit/Screen.h>

#include <QtCore/QBasicTimer>

#include <functional>
#include <unordered_map>
#include <vector>

namespace korvel::platform::qtquick {

class Mirror;

/// One window of the view tree, shown over all of an item: its pixels, brought up to date at most
/// once a frame and only where something changed, and its input. Touches and keys that no view
/// takes stay with the items below. Goes with the item.
class Surface final : public QQuickItem {
    Q_OBJECT

public:
    enum class Kind {
        item,    ///< beside others in the window
        window,  ///< before all others: keeps the focus, keys and hovering pointers while it shows
                 ///< anything
    };
    Surface(QQuickItem& place, Kind kind, std::shared_ptr<Screen> screen,
            std::shared_ptr<Mirror> mirror);
    ~Surface() override;

    /// What it shows; null once closed.
    const std::shared_ptr<UIWindow>& shown() const { return shown_; }
    /// Runs after each change of whether there is anything to see.
    std::function<void()> onShownChanged;
    bool showsAnything() const { return showsAnything_; }
    /// Asked when somebody wants to leave what covers the window and no item there has seen to it.
    std::function<bool()> onLeave;
    /// The one of kind `window` there; null if there is none.
    static Surface* covering(const QQuickWindow& window);
    /// Whether the item is not covered while this covers the window.
    bool leavesVisible(const QQuickItem& item) const;
    /// Lets go of the views and vanishes; deleted a little later.
    void close();

    // From the mirror: notes.
    void viewChanged(const UIView& view, UIViewChange what);
    void subviewsChanged();
    void animationBegan(const UIView& view);
    void fadeOut(const UIView& view);

    // From its items.
    enum class When { nextFrame, withVideo };  ///< with the next picture, if a video is playing
    void queue(ViewItem& item, When when);
    void videoChanged() { lastVideo_ = now(); }
    void forget(ViewItem& item);
    void animate(ViewItem& item);
    bool isMoving(const ViewItem& item) const;
    Clock::Instant now() const { return screen_->clock().now(); }
    /// The control cannot keep the focus that it has; it gets it back when it can, if nobody else
    /// wanted it.
    void lost(ViewItem& item);
    void found(ViewItem& item);

    // From the mirror, or another surface.
    void rememberFocus();  ///< it will be back
    void restoreFocus();   ///< if it had it, and nobody has

    /// Of its window.
    bool eventFilter(QObject* window, QEvent* event) override;

protected:
    void updatePolish() override;
    void timerEvent(QTimerEvent* event) override;
    void geometryChange(const QRectF& now, const QRectF& before) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void mouseUngrabEvent() override;
    void touchEvent(QTouchEvent* event) override;
    void touchUngrabEvent() override;
    void wheelEvent(QWheelEvent* event) override;
    void hoverEnterEvent(QHoverEvent* event) override;
    void hoverMoveEvent(QHoverEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void focusInEvent(QFocusEvent* event) override;
    void focusOutEvent(QFocusEvent* event) override;

private:
    struct Fading {
        ViewItem* item;
        double from;
        Clock::Instant begin;
    };

    void follow();
    ViewItem* itemOf(const UIView& view) const;
    bool isPlaceholder(const UIView& view) const;
    void reconcile();
    ViewItem& place(const std::shared_ptr<UIView>& view, QQuickItem& parent, double z);
    void retire(ViewItem& item);
    void askForFrame();
    void updateShown();
    void shadeVideos();
    void step();
    bool takes(QPointF point) const;
    bool press(QPointF point);
    void tapPicture();
    bool performKey(int key);
    bool leave();

    bool covers() const { return kind_ == Kind::window; }
    QQuickItem* focusItem() const;
    bool holdsFocus() const;
    void collectStops(const UIView& view, FocusStops& found) const;
    FocusStops stops() const;
    static bool goTo(QQuickItem* stop, Qt::FocusReason reason);
    bool showControls();
    bool moveFocus(bool forward);
    bool moveFocusTowards(int arrow);
    void keepFocusInside();
    void takeFocus();
    void giveFocusBack();

    const Kind kind_;
    const std::shared_ptr<Screen> screen_;
    std::shared_ptr<Mirror> mirror_;  ///< until closed
    std::shared_ptr<UIWindow> shown_;
    std::unordered_map<const UIView*, ViewItem*> items_;
    std::vector<ViewItem*> queued_;
    std::vector<ViewItem*> moving_;
    std::vector<Fading> fading_;
    std::uint64_t round_ = 0;
    bool treeChanged_ = true;
    bool showsAnything_ = false;
    std::optional<int> finger_;
    QBasicTimer ticks_;
    QBasicTimer video_;  ///< waits for the next picture, but not for ever
    Clock::Instant lastVideo_{};
    QPointer<QQuickItem> formerFocus_;
    QPointer<QQuickItem> lastInside_;  ///< that had the focus, while this covers the window
    QPointer<ViewItem> returning_;
    bool remembers_ = false;
    std::weak_ptr<UIView> rememberedView_;
    std::unique_ptr<FocusRing> ring_;
};

}  // namespace korvel::platform::qtquick
