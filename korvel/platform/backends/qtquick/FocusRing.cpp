#include <korvel/platform/backends/qtquick/FocusRing.h>

#include <QtGui/QPainter>

namespace korvel::platform::qtquick {

namespace {

constexpr double margin = 4;
constexpr double lineWidth = 2;
constexpr double radius = 8;

}  // namespace

FocusRing::FocusRing(QQuickItem& control, Side side)
    : QQuickPaintedItem(&control), margin_(side == Side::outside ? margin : -margin) {
    setZ(1);
    follow(control.size());
}

void FocusRing::follow(QSizeF control) {
    setPosition({-margin_, -margin_});
    setSize(control.grownBy({margin_, margin_, margin_, margin_}));
}

void FocusRing::paint(QPainter* painter) {
    painter->setRenderHint(QPainter::Antialiasing);
    painter->setBrush(Qt::NoBrush);
    const auto inner = boundingRect().adjusted(lineWidth, lineWidth, -lineWidth, -lineWidth);
    painter->setPen(QPen(QColor(0, 0, 0, 160), 2 * lineWidth));
    painter->drawRoundedRect(inner, radius, radius);
    painter->setPen(QPen(Qt::white, lineWidth));
    painter->drawRoundedRect(inner, radius, radius);
}

}  // namespace korvel::platform::qtquick
