#include <korvel/platform/backends/qtquick/Accessibility.h>
#include <korvel/platform/backends/qtquick/SubtitleItem.h>
#include <korvel/platform/backends/qtquick/ViewNode.h>

#include <utility>

namespace korvel::platform::qtquick {

namespace {
constexpr double belowSubviews = 0.5;
}

SubtitleItem::SubtitleItem(QQuickItem& video) : QQuickItem(&video) {
    setFlag(ItemHasContents);
    setZ(belowSubviews);
}

void SubtitleItem::show(const std::vector<AVSubtitleCue>& cues, const SubtitlePlace& place) {
    if (cues == cues_ && place == place_) return;
    const bool says = cues != cues_;
    cues_ = cues;
    place_ = place;
    draw();
    if (says) makeAccessibleText(*this, textOf(cues_));
}

void SubtitleItem::setLight(double light) {
    if (std::exchange(place_.light, light) != light) draw();
}

void SubtitleItem::draw() {
    auto [image, target] = SubtitlePicture::of(cues_, place_);
    picture_ = std::move(image);
    setPosition(target.topLeft());
    setSize(target.size());
    pictureChanged_ = true;
    update();
}

void SubtitleItem::retire() {
    setParentItem(nullptr);
    deleteLater();
}

QSGNode* SubtitleItem::updatePaintNode(QSGNode* old, UpdatePaintNodeData*) {
    auto* node = static_cast<ViewNode*>(old);
    if (picture_.isNull()) {
        delete node;
        return nullptr;
    }
    if (!node) node = new ViewNode(*window(), true);
    if (node != old || std::exchange(pictureChanged_, false)) {
        node->setPicture(*window(), picture_, boundingRect(), picture_.rect());
    }
    return node;
}

}  // namespace korvel::platform::qtquick
