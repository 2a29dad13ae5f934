#pragma once

#include <QtQml/qqmlregistration.h>
#include <QPointer>
#include <QQuickItem>
#include <vector>

/// A region in which arrow keys move the focus, to the nearest stop in their direction. A stop is
/// an item that Tab would reach, or a region within this one, however much that holds: entering it
/// leads to where the focus was last. What gets the focus is scrolled into view, and where no stop
/// follows, what there is to read is scrolled. Keys with nowhere to go are left to the region
/// around.
///
/// While it has the focus one of its stops has it, as soon as there is any.
class DirectionalFocus : public QQuickItem {
    Q_OBJECT
    QML_ELEMENT

public:
    enum class Direction { left, right, up, down };

    explicit DirectionalFocus(QQuickItem* parent = nullptr);

    /// Takes the focus to the stop that had it last, else to the first.
    Q_INVOKABLE void enter();
    /// False if nothing lies there.
    bool move(Direction direction);

protected:
    void keyPressEvent(QKeyEvent* event) override;
    void itemChange(ItemChange change, const ItemChangeData& data) override;

private:
    struct Stop {
        QQuickItem* item;
        QRectF seen;  ///< of it, in this region's coordinates
    };

    std::vector<Stop> stops() const;
    QQuickItem* stopHolding(const QQuickItem* item) const;
    QQuickItem* remembered() const;
    void follow();
    void settle();
    void give(QQuickItem& stop, const QRectF& from, Direction direction);

    QPointer<QQuickWindow> watched_;
    QMetaObject::Connection waiting_;          ///< for a stop to come
    QMetaObject::Connection shown_, enabled_;  ///< of what has the focus
    QRectF last_;                              ///< where the focus was
};
