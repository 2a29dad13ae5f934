#include <korvel/platform/backends/qtquick/PainterCanvas.h>
#include <korvel/platform/backends/qtquick/TextMeasureQt.h>

#include <QtCore/QCache>
#include <QtGui/QFontMetricsF>
#include <QtGui/QPen>

#include <algorithm>
#include <cmath>

namespace korvel::platform::qtquick {

namespace {

/// Which file or bytes; bytes of another image may come to lie at the same address.
QString nameOf(const UIImage::Variant& variant) {
    if (!variant.bytes) return QString::fromStdString(variant.file.native());
    return QString::number(std::hash<std::string_view>()(
        {reinterpret_cast<const char*>(variant.bytes->data()), variant.bytes->size()}));
}

QImage decoded(const UIImage::Variant& variant) {
    const auto bytes = UIImage::encoded(variant);
    if (!bytes) return {};
    auto image = QImage::fromData(bytes->data(), static_cast<int>(bytes->size()), "PNG");
    return image.convertToFormat(QImage::Format_ARGB32_Premultiplied);
}

QImage tinted(QImage image, const UIColor& tint) {
    QPainter painter(&image);
    painter.setCompositionMode(QPainter::CompositionMode_SourceIn);
    painter.fillRect(image.rect(), colorOf(tint));
    return image;
}

QImage pictureOf(const UIImage::Variant& variant, const std::optional<UIColor>& tint) {
    constexpr int kibibytes = 8192;
    thread_local QCache<QString, QImage> kept(kibibytes);
    const auto key = nameOf(variant) + (tint ? colorOf(*tint).name(QColor::HexArgb) : QString());
    if (const auto* found = kept.object(key)) return *found;
    auto picture = decoded(variant);
    if (tint && !picture.isNull()) picture = tinted(std::move(picture), *tint);
    kept.insert(key, new QImage(picture),
                std::max(1, static_cast<int>(picture.sizeInBytes() / 1024)));
    return picture;
}

}  // namespace

QColor colorOf(const UIColor& color) {
    const auto part = [](float value) { return std::clamp(value, 0.F, 1.F); };
    return QColor::fromRgbF(part(color.red), part(color.green), part(color.blue),
                            part(color.alpha));
}

QRectF rectOf(const CGRect& rect) {
    return {rect.minX(), rect.minY(), rect.size.width, rect.size.height};
}

void BoundsCanvas::fill(const CGRect& rect, double, const UIColor&) { bounds |= rectOf(rect); }

void BoundsCanvas::image(const UIImage&, const CGRect& rect, const std::optional<UIColor>&,
                         double) {
    bounds |= rectOf(rect);
}

void BoundsCanvas::text(const std::string& text, const UIFont& font, const UIColor&,
                        const CGRect& rect, NSTextAlignment alignment) {
    const QFontMetricsF metrics(fontFor(font));
    const double overhang = metrics.height() / 2;  // of slanted letters
    const double width = std::min(
        metrics.horizontalAdvance(QString::fromStdString(text)) + 2 * overhang, rect.size.width);
    auto line = rectOf(rect);
    if (alignment == NSTextAlignment::left) line.setRight(line.left() + width);
    if (alignment == NSTextAlignment::right) line.setLeft(line.right() - width);
    if (alignment == NSTextAlignment::center) {
        const double spare = (line.width() - width) / 2;
        line.adjust(spare, 0, -spare, 0);
    }
    bounds |= line;
}

void BoundsCanvas::arc(const CGRect& rect, double, double, double lineWidth, const UIColor&) {
    bounds |= rectOf(rect.insetBy(-lineWidth / 2, -lineWidth / 2));
}

PainterCanvas::PainterCanvas(QImage& picture, QPointF origin)
    : painter_(&picture), scale_(picture.devicePixelRatio()) {
    painter_.translate(-origin);
    painter_.setRenderHints(QPainter::Antialiasing | QPainter::SmoothPixmapTransform);
}

void PainterCanvas::fill(const CGRect& rect, double cornerRadius, const UIColor& color) {
    painter_.setPen(Qt::NoPen);
    painter_.setBrush(colorOf(color));
    painter_.drawRoundedRect(rectOf(rect), cornerRadius, cornerRadius);
}

void PainterCanvas::image(const UIImage& image, const CGRect& rect,
                          const std::optional<UIColor>& tint, double opacity) {
    const auto size = image.size();
    if (size.width <= 0 || size.height <= 0) return;
    const double stretch = std::max(rect.size.width / size.width, rect.size.height / size.height);
    const auto* variant = image.variant(stretch * scale_);
    if (!variant) return;
    painter_.setOpacity(opacity);
    painter_.drawImage(rectOf(rect), pictureOf(*variant, tint));
    painter_.setOpacity(1);
}

void PainterCanvas::text(const std::string& text, const UIFont& font, const UIColor& color,
                         const CGRect& rect, NSTextAlignment alignment) {
    int flags = Qt::AlignVCenter | Qt::TextSingleLine;
    switch (alignment) {
        case NSTextAlignment::left:
            flags |= Qt::AlignLeft;
            break;
        case NSTextAlignment::center:
            flags |= Qt::AlignHCenter;
            break;
        case NSTextAlignment::right:
            flags |= Qt::AlignRight;
            break;
    }
    const auto shape = fontFor(font);
    painter_.setFont(shape);
    painter_.setPen(colorOf(color));
    const auto line = QFontMetricsF(shape).elidedText(QString::fromStdString(text), Qt::ElideRight,
                                                      rect.size.width);
    painter_.drawText(rectOf(rect), flags, line);
}

void PainterCanvas::arc(const CGRect& rect, double startDegrees, double sweepDegrees,
                        double lineWidth, const UIColor& color) {
    constexpr double unitsPerDegree = 16;  // counted the other way round
    painter_.setBrush(Qt::NoBrush);
    painter_.setPen(QPen(colorOf(color), lineWidth, Qt::SolidLine, Qt::RoundCap));
    painter_.drawArc(rectOf(rect), static_cast<int>(std::lround(-startDegrees * unitsPerDegree)),
                     static_cast<int>(std::lround(-sweepDegrees * unitsPerDegree)));
}

}  // namespace korvel::platform::qtquick
