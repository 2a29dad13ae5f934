#pragma once

#include <korvel/platform/avfoundation/AVSubtitleCue.h>

#include <QtCore/QRectF>
#include <QtGui/QTextLayout>

#include <memory>
#include <vector>

namespace korvel::platform::qtquick {

/// One cue in lines, each with the box that it stands on. Whole pixels, from the block's corner.
class SubtitleBlock {
public:
    /// At most so wide and high: what is left after that many lines is not shown.
    SubtitleBlock(const AVSubtitleCue& cue, const QFont& font, QSizeF most);

    bool isEmpty() const { return lines_.empty(); }
    QSizeF size() const { return size_; }
    /// From the left, where 0 is, to the right, where 1 is: at which side it is to stand.
    double leaning() const { return lines_.empty() ? 0 : lines_.front().leaning; }
    void paint(QPainter& painter, QPointF corner) const;

private:
    struct Line {
        QTextLine text;
        QRectF box;
        double leaning;
    };

    void addParagraphs(const AVSubtitleCue& cue, const QFont& font);
    bool addLines(const QTextLayout& paragraph, double leaning, double height, double most);

    const double side_;  ///< between letters and the box's edge
    std::vector<std::unique_ptr<QTextLayout>> paragraphs_;
    std::vector<Line> lines_;
    QSizeF size_;
};

}  // namespace korvel::platform::qtquick
