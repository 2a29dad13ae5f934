#pragma once

#include <korvel/platform/backends/qtquick/SubtitlePicture.h>

#include <QtQuick/QQuickItem>

namespace korvel::platform::qtquick {

/// What is to be read over a video; a text to screen readers. There only while there is something
/// to read. GUI thread.
class SubtitleItem final : public QQuickItem {
public:
    explicit SubtitleItem(QQuickItem& video);

    /// Drawn anew only if any of it has changed.
    void show(const std::vector<AVSubtitleCue>& cues, const SubtitlePlace& place);
    void setLight(double light);
    /// Vanishes; deleted a little later.
    void retire();

protected:
    QSGNode* updatePaintNode(QSGNode* old, UpdatePaintNodeData*) override;

private:
    void draw();

    std::vector<AVSubtitleCue> cues_;
    SubtitlePlace place_;
    QImage picture_;
    bool pictureChanged_ = false;
};

}  // namespace korvel::platform::qtquick
