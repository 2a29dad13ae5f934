#pragma once

#include <QtGui/QColor>
#include <QtGui/QImage>
#include <QtQuick/QSGImageNode>
#include <QtQuick/QSGNode>
#include <QtQuick/QSGRectangleNode>

class QQuickWindow;

namespace korvel::platform::qtquick {

/// The pixels of one view: a colour, and over it a picture. Render thread, while the GUI thread
/// waits.
///
/// All parts are made with it: the software renderer of Qt 6.4 draws a node that is added later at
/// the window's origin, as if nothing stood above it.
class ViewNode final : public QSGNode {
public:
    ViewNode(QQuickWindow& window, bool withPicture);

    /// A null picture is none.
    void setPicture(QQuickWindow& window, const QImage& picture, const QRectF& target,
                    const QRectF& source);
    /// After the picture, which may cover it.
    void setBackground(const QRectF& rect, const QColor& color);

private:
    QSGRectangleNode* background_;
    QSGImageNode* picture_ = nullptr;
    bool opaque_ = false;
};

}  // namespace korvel::platform::qtquick
