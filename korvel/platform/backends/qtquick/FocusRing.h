#pragma once

#include <QtQuick/QQuickPaintedItem>

namespace korvel::platform::qtquick {

/// Shows where the keyboard's focus is: a light line with a dark edge, to be seen on any picture.
class FocusRing final : public QQuickPaintedItem {
    Q_OBJECT

public:
    enum class Side { outside, inside };
    /// Along the edge of `control`, whose child it is.
    explicit FocusRing(QQuickItem& control, Side side = Side::outside);
    void follow(QSizeF control);

    void paint(QPainter* painter) override;

private:
    const double margin_;
};

}  // namespace korvel::platform::qtquick
