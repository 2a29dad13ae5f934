#include <korvel/platform/backends/qtquick/VideoPicture.h>

#include <libyuv/convert_argb.h>
#include <libyuv/row.h>
#include <libyuv/scale.h>

#include <algorithm>
#include <cmath>

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

/// A factor's or a start's share. Starts hold half of the last place, by which the converter
/// rounds.
template <class Factor> Factor share(Factor whole, double light, int rounding = 0) {
    return static_cast<Factor>(std::lround((whole - rounding) * light) + rounding);
}

/// The same conversion to so much of the light, which so costs nothing. The library lays the
/// factors out in one of two ways; in ARM's the starts make up for colours that count from 128.
template <class Constants> Constants dimmed(Constants to, double light) {
    constexpr int rounding = 32;
    if constexpr (requires { to.kUVToB; }) {
        for (auto* factors : {&to.kUVToB, &to.kUVToG, &to.kUVToR}) {
            for (auto& factor : *factors) factor = share(factor, light);
        }
        for (auto& factor : to.kYToRgb) factor = share(factor, light);
        for (auto& start : to.kYBiasToRgb) start = share(start, light, rounding);
    } else {
        auto& color = to.kUVCoeff;  // blue's, red's, green's two, and again
        auto& rest = to.kRGBCoeffBias;
        const int start = share(128 * color[0] - rest[1], light, rounding);
        for (int i = 0; i < 8; ++i) color[i] = share(color[i], light);
        rest[0] = share(rest[0], light);
        rest[1] = static_cast<std::int16_t>(128 * color[0] - start);
        rest[2] = static_cast<std::int16_t>(128 * (color[2] + color[3]) + start);
        rest[3] = static_cast<std::int16_t>(128 * color[1] - start);
    }
    return to;
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
    const auto& whole = constantsOf(frame);
    alignas(32) const auto constants = light < 1 ? dimmed(whole, std::max(light, 0.)) : whole;
    libyuv::I420ToARGBMatrix(planes.data[0], planes.stride[0], planes.data[1], planes.stride[1],
                             planes.data[2], planes.stride[2], to.bits(),
                             static_cast<int>(to.bytesPerLine()), &constants, size.width(),
                             size.height());
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
