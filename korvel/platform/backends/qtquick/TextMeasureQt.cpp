#include <korvel/platform/backends/qtquick/TextMeasureQt.h>

#include <QtCore/QString>
#include <QtGui/QFontMetricsF>

#include <cmath>

namespace korvel::platform::qtquick {

QFont fontFor(const UIFont& wish) {
    QFont font;
    if (!wish.name.empty()) font.setFamily(QString::fromStdString(wish.name));
    font.setPixelSize(std::max(1, static_cast<int>(std::lround(wish.pointSize))));
    font.setWeight(static_cast<QFont::Weight>(wish.weight));
    return font;
}

CGSize TextMeasureQt::sizeOf(std::string_view text, const UIFont& font) const {
    const QFontMetricsF metrics(fontFor(font));
    const auto line = QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size()));
    return {std::ceil(metrics.horizontalAdvance(line)), std::ceil(metrics.height())};
}

}  // namespace korvel::platform::qtquick
