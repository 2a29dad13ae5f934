#include <korvel/platform/backends/qtquick/ViewNode.h>

#include <QtQuick/QQuickWindow>
#include <QtQuick/QSGTexture>

namespace korvel::platform::qtquick {

namespace {

QImage nothing() {
    QImage dot(1, 1, QImage::Format_ARGB32_Premultiplied);
    dot.fill(Qt::transparent);
    return dot;
}

}  // namespace

ViewNode::ViewNode(QQuickWindow& window, bool withPicture)
    : background_(window.createRectangleNode()) {
    background_->setColor(Qt::transparent);
    appendChildNode(background_);
    if (!withPicture) return;
    picture_ = window.createImageNode();
    picture_->setOwnsTexture(true);
    setPicture(window, {}, {}, {});
    appendChildNode(picture_);
}

void ViewNode::setBackground(const QRectF& rect, const QColor& color) {
    // What nobody sees would be blended all the same.
    const bool covered = opaque_ && picture_->rect().contains(rect);
    const QRectF seen = color.alpha() > 0 && !covered ? rect : QRectF();
    if (background_->rect() != seen) background_->setRect(seen);
    if (background_->color() != color) background_->setColor(color);
}

void ViewNode::setPicture(QQuickWindow& window, const QImage& picture, const QRectF& target,
                          const QRectF& source) {
    const bool shown = !picture.isNull();
    opaque_ = shown && !picture.hasAlphaChannel();
    const auto options =
        opaque_ ? QQuickWindow::TextureIsOpaque : QQuickWindow::TextureHasAlphaChannel;
    picture_->setTexture(window.createTextureFromImage(shown ? picture : nothing(), options));
    const QRectF place = shown ? target : QRectF();
    const QRectF part = shown ? source : QRectF(0, 0, 1, 1);
    // One pixel for one needs no filter, and filtering costs the software renderer dear.
    const bool exact = place.size() * window.effectiveDevicePixelRatio() == part.size();
    picture_->setFiltering(exact ? QSGTexture::Nearest : QSGTexture::Linear);
    picture_->setRect(place);
    picture_->setSourceRect(part);
}

}  // namespace korvel::platform::qtquick
