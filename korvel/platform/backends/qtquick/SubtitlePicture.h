#pragma once

#include <korvel/platform/avfoundation/AVSubtitleCue.h>

#include <QtCore/QRectF>
#include <QtGui/QImage>

#include <vector>

namespace korvel::platform::qtquick {

/// Where cues are to be shown. Points, from the view's corner.
struct SubtitlePlace {
    QRectF picture{};  ///< the video's, as far as it is seen
    QSizeF view{};     ///< what lies outside is cut off
    double inset = 0;  ///< of the view's height, to be left free at its bottom
    double scale = 1;  ///< pixels per point
    double light = 1;  ///< what lies over the picture leaves so much of it

    bool operator==(const SubtitlePlace&) const = default;
};

/// Cues as televisions show them: white on boxes that are nearly black, a box for each line, large
/// enough to be read from where a picture of that height is seen. Where several would lie over each
/// other the later one gives way; for what finds no room there is none. Text is shown as it stands,
/// in whatever script, and never taken for markup.
struct SubtitlePicture {
    QImage image{};  ///< null where there is nothing to see
    QRectF target{};

    static SubtitlePicture of(const std::vector<AVSubtitleCue>& cues, const SubtitlePlace& place);
};

/// What they say, a line each.
QString textOf(const std::vector<AVSubtitleCue>& cues);

}  // namespace korvel::platform::qtquick
