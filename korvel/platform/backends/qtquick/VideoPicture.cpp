#include <korvel/platform/backends/qtquick/VideoPicture.h>

#include <libyuv/convert_argb.h>
#include <libyuv/planar_functions.h>
#include <libyuv/scale.h>

#include <algorithm>
#include <cmath>
#include <cstring>

namespace korvel::platform::qtquick {

namespace {

const libyuv::YuvConstants& constantsOf(const VideoFrame& frame) {
    switch (frame.matrix) {
        case VideoFrame::Matrix::bt709:
            return frame.fullRange ? libyuv::kYuvF709Constants : libyuv::kYuvH709Constants;
        case VideoFrame::Matrix::bt2020:
            return frame.fullRange ? libyuv::kYuvV2020Constants : libyuv::kYuv2020Constants;
        case VideoFrame::Matrix::bt601:
            break;
    }
    return frame.fullRange ? libyuv::kYuvJPEGConstants : libyuv::kYuvI601Constants;
}

/// Three planes to read, as the converters want them.
struct Planes {
    std::array<const std::uint8_t*, 3> data;
    std::array<int, 3> stride;

    /// From an even place on: two pixels share a colour.
    static Planes of(const VideoFrame& frame, QPoint origin) {
        Planes planes{};
        for (std::size_t i = 0; i < 3; ++i) {
            const int x = i == 0 ? origin.x() : origin.x() / 2;
            const int y = i == 0 ? origin.y() : origin.y() / 2;
            planes.stride.at(i) = static_cast<int>(frame.planes.at(i).stride);
            planes.data.at(i) =
                frame.planes.at(i).data + static_cast<std::ptrdiff_t>(y) * planes.stride.at(i) + x;
        }
        return planes;
    }
    /// From an even line on.
    Planes below(int line) const {
        auto planes = *this;
        for (std::size_t i = 0; i < 3; ++i) {
            planes.data.at(i) +=
                static_cast<std::ptrdiff_t>(i == 0 ? line : line / 2) * stride.at(i);
        }
        return planes;
    }
};

constexpr int half(int length) { return (length + 1) / 2; }

Planes scale(const Planes& from, QSize part, QSize size, std::vector<std::uint8_t>& memory) {
    const auto bright =
        static_cast<std::size_t>(size.width()) * static_cast<std::size_t>(size.height());
    const auto color = static_cast<std::size_t>(half(size.width())) *
                       static_cast<std::size_t>(half(size.height()));
    memory.resize(bright + 2 * color);
    const std::array<std::uint8_t*, 3> to{memory.data(), memory.data() + bright,
                                          memory.data() + bright + color};
    const std::array<int, 3> stride{size.width(), half(size.width()), half(size.width())};
    libyuv::I420Scale(from.data[0], from.stride[0], from.data[1], from.stride[1], from.data[2],
                      from.stride[2], part.width(), part.height(), to[0], stride[0], to[1],
                      stride[1], to[2], stride[2], size.width(), size.height(),
                      libyuv::kFilterBilinear);
    return {{to[0], to[1], to[2]}, stride};
}

/// So many lines of the planes with less light, in memory that the processor keeps at hand: each
/// plane brought nearer to its own black.
Planes dimmed(const Planes& from, QSize size, double light, bool fullRange,
              std::vector<std::uint8_t>& memory) {
    const auto share = static_cast<int>(std::lround((1 - std::clamp(light, 0., 1.)) * 256));
    const std::array<QSize, 3> sizes{size, QSize(half(size.width()), half(size.height())),
                                     QSize(half(size.width()), half(size.height()))};
    const auto area = [](QSize part) {
        return static_cast<std::size_t>(part.width()) * static_cast<std::size_t>(part.height());
    };
    const auto wide = static_cast<std::size_t>(size.width());
    memory.resize(wide + area(sizes[0]) + 2 * area(sizes[1]));
    auto* to = memory.data() + wide;
    Planes planes{{}, {sizes[0].width(), sizes[1].width(), sizes[2].width()}};
    for (std::size_t i = 0; i < 3; ++i) {
        const int darkest = fullRange ? 0 : 16;
        std::memset(memory.data(), i == 0 ? darkest : 128, wide);
        libyuv::InterpolatePlane(from.data.at(i), from.stride.at(i), memory.data(), 0, to,
                                 planes.stride.at(i), sizes.at(i).width(), sizes.at(i).height(),
                                 std::min(share, 255));
        planes.data.at(i) = to;
        to += area(sizes.at(i));
    }
    return planes;
}

}  // namespace

VideoFit VideoFit::of(const VideoFrame& frame, QSizeF view, AVLayerVideoGravity gravity) {
    const QSizeF pixels(frame.width, frame.height);
    const QRectF whole({}, view);
    if (pixels.isEmpty() || view.isEmpty()) return {};
    if (gravity == AVLayerVideoGravity::resize) return {whole, {{}, pixels}};
    const QSizeF shape(pixels.width() * frame.pixelAspect, pixels.height());
    if (gravity == AVLayerVideoGravity::resizeAspect) {
        QRectF target({}, shape.scaled(view, Qt::KeepAspectRatio));
        target.moveCenter(whole.center());
        return {target, {{}, pixels}};
    }
    const auto seen = view.scaled(shape, Qt::KeepAspectRatio);
    QRectF source({}, QSizeF(seen.width() / frame.pixelAspect, seen.height()));
    source.moveCenter(QRectF({}, pixels).center());
    return {whole, source};
}

QImage VideoPicture::rgb(const VideoFrame& frame, const QRect& part, QSize size, double light) {
    const QRect all(0, 0, static_cast<int>(frame.width), static_cast<int>(frame.height));
    auto from = part.intersected(all);
    from.setTopLeft({from.x() & ~1, from.y() & ~1});
    if (!frame.planes[0].data || from.isEmpty() || size.isEmpty()) return {};
    auto planes = Planes::of(frame, from.topLeft());
    if (from.size() != size) planes = scale(planes, from.size(), size, scaled_);
    auto& to = buffer(size);
    constexpr int someLines = 16;  // even: two lines share a colour
    const int step = light < 1 ? someLines : size.height();
    for (int line = 0; line < size.height(); line += step) {
        const int lines = std::min(step, size.height() - line);
        const auto strip = light < 1 ? dimmed(planes.below(line), {size.width(), lines}, light,
                                              frame.fullRange, dimmed_)
                                     : planes;
        libyuv::I420ToARGBMatrix(strip.data[0], strip.stride[0], strip.data[1], strip.stride[1],
                                 strip.data[2], strip.stride[2], to.scanLine(line),
                                 static_cast<int>(to.bytesPerLine()), &constantsOf(frame),
                                 size.width(), lines);
    }
    return to;
}

/// One that nobody else keeps any more: the renderer holds the last one or two.
QImage& VideoPicture::buffer(QSize size) {
    for (std::size_t tries = 0; tries < buffers_.size(); ++tries) {
        auto& candidate = buffers_.at(next_++ % buffers_.size());
        if (candidate.size() == size && candidate.isDetached()) return candidate;
    }
    auto& fresh = buffers_.at(next_++ % buffers_.size());
    fresh = QImage(size, QImage::Format_RGB32);
    return fresh;
}

}  // namespace korvel::platform::qtquick
