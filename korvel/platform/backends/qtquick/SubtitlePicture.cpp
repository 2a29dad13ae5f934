#include <korvel/platform/backends/qtquick/SubtitleBlock.h>
#include <korvel/platform/backends/qtquick/SubtitlePicture.h>

#include <QtCore/QStringList>
#include <QtGui/QPainter>

#include <algorithm>
#include <cmath>
#include <optional>

namespace korvel::platform::qtquick {

namespace {

constexpr double letterHeight = 1. / 18;  // of the picture's
constexpr double leastPoints = 14;        // a small picture is read from near
constexpr double margin = 0.05;           // of the picture; televisions may cut off as much
constexpr double leastWidth = 6;          // of a cue, in letters' heights
constexpr double gap = 0.2;               // between cues, likewise

struct Placed {
    SubtitleBlock block;
    QRectF rect;
};

QRectF scaled(const QRectF& rect, double by) { return {rect.topLeft() * by, rect.size() * by}; }

/// What is narrow, because it is cut off at its sides, counts as if it were 4:3.
QFont fontFor(const SubtitlePlace& place) {
    const double height = std::min(place.picture.height(), place.picture.width() * 3 / 4);
    QFont font;
    const double points = std::max(height * letterHeight, leastPoints);
    font.setPixelSize(static_cast<int>(std::lround(points * place.scale)));
    return font;
}

/// Where cues may be, in pixels.
QRectF areaOf(const SubtitlePlace& place) {
    const auto& picture = place.picture;
    auto area = picture.marginsRemoved({picture.width() * margin, picture.height() * margin,
                                        picture.width() * margin, picture.height() * margin});
    area.setBottom(std::min(area.bottom(), place.view.height() - place.inset));
    return scaled(area, place.scale);
}

double within(double value, double least, double most) {
    return std::min(std::max(value, least), std::max(most, least));
}

/// The part of the area's width that the cue asks for.
QRectF columnOf(const AVSubtitleCue& cue, const QRectF& picture, const QRectF& area,
                double leastWide) {
    const double center = picture.left() + cue.center * picture.width();
    const double half = cue.width * picture.width() / 2;
    QRectF column = area;
    column.setLeft(within(center - half, area.left(), area.right()));
    column.setRight(within(center + half, area.left(), area.right()));
    if (column.width() >= leastWide) return column;
    column.setWidth(std::min(leastWide, area.width()));
    column.moveLeft(
        within(center - column.width() / 2, area.left(), area.right() - column.width()));
    return column;
}

/// Past what is there already, up or down. Nothing if that leads out of the area.
std::optional<QRectF> roomFor(QRectF rect, bool upwards, double space, const QRectF& area,
                              const std::vector<Placed>& others) {
    const auto over = [&](const Placed& other) { return other.rect.intersects(rect); };
    for (;;) {
        const auto other = std::find_if(others.begin(), others.end(), over);
        if (other == others.end()) break;
        upwards ? rect.moveBottom(other->rect.top() - space)
                : rect.moveTop(other->rect.bottom() + space);
    }
    const bool fits = rect.top() >= area.top() - 1 && rect.bottom() <= area.bottom() + 1;
    return fits ? std::optional(rect) : std::nullopt;
}

std::vector<Placed> placed(const std::vector<AVSubtitleCue>& cues, const SubtitlePlace& place) {
    const auto font = fontFor(place);
    const auto picture = scaled(place.picture, place.scale);
    const auto area = areaOf(place);
    std::vector<Placed> found;
    for (const auto& cue : cues) {
        const auto column = columnOf(cue, picture, area, leastWidth * font.pixelSize());
        SubtitleBlock block(cue, font, {column.width(), area.height()});
        if (block.isEmpty()) continue;
        QRectF rect(column.topLeft(), block.size());
        rect.moveLeft(column.left() + (column.width() - rect.width()) * block.leaning());
        const double lowest = area.bottom() - rect.height();
        const double top = picture.top() + cue.top.value_or(1) * picture.height();
        rect.moveTop(within(top, area.top(), lowest));
        rect.moveTopLeft({std::round(rect.left()), std::floor(rect.top())});
        const bool upwards = !cue.top || rect.center().y() > area.center().y();
        const double space = std::round(gap * font.pixelSize());
        const auto room = roomFor(rect, upwards, space, area, found);
        if (room) found.push_back({std::move(block), *room});
    }
    return found;
}

}  // namespace

SubtitlePicture SubtitlePicture::of(const std::vector<AVSubtitleCue>& cues,
                                    const SubtitlePlace& place) {
    const auto shown = placed(cues, place);
    QRectF all;
    for (const auto& each : shown) all |= each.rect;
    const auto pixels =
        all.intersected(scaled({QPointF(), place.view}, place.scale)).toAlignedRect();
    if (pixels.isEmpty()) return {};
    QImage image(pixels.size(), QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    QPainter painter(&image);
    for (const auto& each : shown)
        each.block.paint(painter, each.rect.topLeft() - pixels.topLeft());
    if (place.light < 1) {
        painter.setCompositionMode(QPainter::CompositionMode_SourceAtop);
        painter.fillRect(image.rect(),
                         QColor::fromRgbF(0, 0, 0, static_cast<float>(1 - place.light)));
    }
    return {image, scaled(pixels, 1 / place.scale)};
}

QString textOf(const std::vector<AVSubtitleCue>& cues) {
    QStringList lines;
    for (const auto& cue : cues) lines << QString::fromStdString(cue.text());
    return lines.join(QLatin1Char('\n'));
}

}  // namespace korvel::platform::qtquick
