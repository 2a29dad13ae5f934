#pragma once

#include <korvel/platform/avfoundation/AVPlayerLayer.h>

#include <QtCore/QRectF>
#include <QtGui/QImage>

#include <array>

namespace korvel::platform::qtquick {

/// Where a picture goes in a view, and which part of it, in its own pixels.
struct VideoFit {
    QRectF target;
    QRectF source;

    static VideoFit of(const VideoFrame& frame, QSizeF view, AVLayerVideoGravity gravity);
};

/// Turns decoded pictures into ones that a toolkit shows. Keeps a few buffers, because a fresh one
/// for each picture costs as much as filling it.
class VideoPicture {
public:
    /// The part of the frame, in exactly that size and with so much of its light. What was returned
    /// before stays as it is for as long as somebody keeps it. Null if there is nothing to show.
    QImage rgb(const VideoFrame& frame, const QRect& part, QSize size, double light = 1);

private:
    QImage& buffer(QSize size);

    std::array<QImage, 4> buffers_;
    std::size_t next_ = 0;
    std::vector<std::uint8_t> scaled_;
};

}  // namespace korvel::platform::qtquick
