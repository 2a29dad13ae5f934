#pragma once

#include <korvel/platform/uikit/UIWindow.h>

#include <QtCore/QPointer>
#include <QtQuick/QQuickItem>

namespace korvel::platform::qtquick {

/// Stands for a host's own item: as a player's parent while it is in its own window, as an overlay
/// anywhere else.
class HostItemView : public UIView {
public:
    HostItemView(QQuickItem& item, std::weak_ptr<UIWindow> home);
    ~HostItemView() override;

    QQuickItem* item() const { return item_; }  ///< null once that has gone
    bool isAtHome() const;
    /// Back to its own window, unless it is in one.
    void goHome();

protected:
    void layoutSubviews() override;

private:
    const QPointer<QQuickItem> item_;
    const std::weak_ptr<UIWindow> home_;
};

/// Holds a host's item in another place for a while. It must not be anchored to anything but its
/// parent.
class ItemLoan {
public:
    ItemLoan(QQuickItem& item, QQuickItem& place);
    /// Puts it back where it was, if both are still there.
    ~ItemLoan();
    ItemLoan(const ItemLoan&) = delete;
    ItemLoan& operator=(const ItemLoan&) = delete;

    bool isOf(const QQuickItem* item) const { return item_ == item; }
    /// Null once it is somewhere else.
    QQuickItem* item() const { return item_ && item_->parentItem() == place_ ? item_ : nullptr; }
    void resize(QSizeF size) const;

private:
    const QPointer<QQuickItem> item_;
    const QPointer<QQuickItem> place_;
    const QPointer<QQuickItem> formerParent_;
    const QPointF formerPosition_;
    const QSizeF formerSize_;
};

}  // namespace korvel::platform::qtquick
