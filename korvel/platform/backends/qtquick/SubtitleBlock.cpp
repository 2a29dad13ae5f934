#include <korvel/platform/backends/qtquick/SubtitleBlock.h>

#include <QtCore/QStringList>
#include <QtGui/QFontMetricsF>
#include <QtGui/QPainter>

#include <algorithm>
#include <cmath>

namespace korvel::platform::qtquick {

namespace {

constexpr double padding = 0.3;  // of the letters' height
/// White has a contrast of 12 on it, whatever lies below.
const QColor boxColor(0, 0, 0, 204);

/// How many lines it takes; `most` if they are more.
int breakLines(QTextLayout& paragraph, double width, int most) {
    paragraph.beginLayout();
    for (int count = 0; count < most; ++count) {
        auto line = paragraph.createLine();
        if (!line.isValid()) break;
        line.setLineWidth(width);
    }
    paragraph.endLayout();
    return paragraph.lineCount();
}

/// Lines of much the same length are read at a glance: as narrow as it gets without another line.
void breakEvenly(QTextLayout& paragraph, double widest, int most) {
    const int lines = breakLines(paragraph, widest, most);
    if (lines < 2 || lines == most) return;
    double narrow = widest / (lines + 1);
    double wide = widest;
    while (wide - narrow > 2) {
        const double middle = (narrow + wide) / 2;
        (breakLines(paragraph, middle, lines + 1) > lines ? narrow : wide) = middle;
    }
    breakLines(paragraph, wide, most);
}

double leaningOf(AVSubtitleCue::Alignment alignment, bool rightToLeft) {
    if (alignment == AVSubtitleCue::Alignment::center) return 0.5;
    return (alignment == AVSubtitleCue::Alignment::end) != rightToLeft ? 1 : 0;
}

}  // namespace

SubtitleBlock::SubtitleBlock(const AVSubtitleCue& cue, const QFont& font, QSizeF most)
    : side_(std::round(font.pixelSize() * padding)) {
    addParagraphs(cue, font);
    const double height = std::ceil(QFontMetricsF(font).height());
    for (const auto& paragraph : paragraphs_) {
        const int lines = static_cast<int>((most.height() - size_.height()) / height);
        if (lines < 1) break;
        breakEvenly(*paragraph, most.width() - 2 * side_, lines);
        const double leaning = leaningOf(cue.alignment, paragraph->text().isRightToLeft());
        if (!addLines(*paragraph, leaning, height, most.height())) break;
    }
    for (auto& line : lines_) {
        line.box.moveLeft(std::round((size_.width() - line.box.width()) * line.leaning));
    }
}

/// Each has a direction of its own.
void SubtitleBlock::addParagraphs(const AVSubtitleCue& cue, const QFont& font) {
    QString text;
    QList<QTextLayout::FormatRange> formats;
    const auto end = [&] {
        QTextOption option(Qt::AlignLeft);
        option.setTextDirection(Qt::LayoutDirectionAuto);
        option.setWrapMode(QTextOption::WrapAtWordBoundaryOrAnywhere);
        auto& paragraph = *paragraphs_.emplace_back(std::make_unique<QTextLayout>(text, font));
        paragraph.setTextOption(option);
        paragraph.setFormats(formats);
        text.clear();
        formats.clear();
    };
    for (const auto& run : cue.runs) {
        QTextCharFormat format;
        if (run.isBold) format.setFontWeight(QFont::Bold);
        format.setFontItalic(run.isItalic);
        format.setFontUnderline(run.isUnderlined);
        const auto pieces = QString::fromStdString(run.text).split(QLatin1Char('\n'));
        for (qsizetype i = 0; i < pieces.size(); ++i) {
            if (i > 0) end();
            const auto length = static_cast<int>(pieces[i].size());
            formats.push_back({static_cast<int>(text.size()), length, format});
            text += pieces[i];
        }
    }
    end();
}

/// Letters that another font had to give may be taller than the others. False once it is full.
bool SubtitleBlock::addLines(const QTextLayout& paragraph, double leaning, double height,
                             double most) {
    for (int i = 0; i < paragraph.lineCount(); ++i) {
        const auto line = paragraph.lineAt(i);
        const double tall = std::max(height, std::ceil(line.height()));
        const double wide = std::ceil(line.naturalTextWidth()) + 2 * side_;
        if (size_.height() + tall > most) return false;
        if (wide > 2 * side_) lines_.push_back({line, {0, size_.height(), wide, tall}, leaning});
        size_ = {std::max(size_.width(), wide), size_.height() + tall};
    }
    return true;
}

void SubtitleBlock::paint(QPainter& painter, QPointF corner) const {
    painter.setPen(Qt::white);
    for (const auto& [text, box, leaning] : lines_) {
        const auto place = box.translated(corner);
        painter.fillRect(place, boxColor);
        const QPointF begin(side_, (box.height() - text.height()) / 2);
        text.draw(&painter, place.topLeft() + begin - text.naturalTextRect().topLeft());
    }
}

}  // namespace korvel::platform::qtquick
