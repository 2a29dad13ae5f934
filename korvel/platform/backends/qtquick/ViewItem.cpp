#include <korvel/platform/avfoundation/AVPlayerLayer.h>
#include <korvel/platform/backends/qtquick/Accessibility.h>
#include <korvel/platform/backends/qtquick/ControlKeys.h>
#include <korvel/platform/backends/qtquick/PainterCanvas.h>
#include <korvel/platform/backends/qtquick/Surface.h>
#include <korvel/platform/backends/qtquick/ViewAccessible.h>
#include <korvel/platform/backends/qtquick/ViewItem.h>
#include <korvel/platform/backends/qtquick/ViewNode.h>
#include <korvel/platform/uikit/UISlider.h>

#include <QtGui/QMatrix4x4>
#include <QtQuick/QQuickWindow>
#include <QtQuick/QSGRendererInterface>

#include <cmath>
#include <utility>

namespace korvel::platform::qtquick {

/// A view's transform, about its centre.
class ViewItem::Transform final : public QQuickTransform {
public:
    explicit Transform(ViewItem& item) : QQuickTransform(&item), item_(item) {
        appendToItem(&item);
    }
    void set(const CGAffineTransform& transform) {
        if (std::exchange(transform_, transform) != transform) update();
    }
    void applyTo(QMatrix4x4* matrix) const override {
        const auto narrow = [](double value) { return static_cast<float>(value); };
        const float x = narrow(item_.width() / 2);
        const float y = narrow(item_.height() / 2);
        matrix->translate(x, y);
        *matrix *= QMatrix4x4(narrow(transform_.a), narrow(transform_.c), 0, narrow(transform_.tx),
                              narrow(transform_.b), narrow(transform_.d), 0, narrow(transform_.ty),
                              0, 0, 1, 0, 0, 0, 0, 1);
        matrix->translate(-x, -y);
    }

private:
    ViewItem& item_;
    CGAffineTransform transform_;
};

namespace {

/// Pixels of a view that is hidden while it fades away stay until they have faded.
bool isFadingAway(const UIView& view, Clock::Instant now) {
    const auto& fade = view.animation();
    return fade && now < fade->end() && fade->toAlpha < fade->fromAlpha;
}

}  // namespace

ViewItem::ViewItem(const std::shared_ptr<UIView>& view, Surface& surface)
    : view_(view),
      surface_(surface),
      draws_(view->drawsContent()),
      video_(std::dynamic_pointer_cast<AVPlayerLayer>(view->layer())),
      showsVideo_(!video_.expired()) {
    setParent(&surface);
    note(everything);
}

ViewItem::~ViewItem() = default;

void ViewItem::note(unsigned parts) {
    if (frozen_) return;
    noted_ |= parts;
    // What nobody sees waits, at no cost, until somebody does.
    if (parts == content && (!isVisible() || opacity() <= 0)) return;
    surface_.queue(*this, parts == content && followsVideo() ? Surface::When::withVideo
                                                             : Surface::When::nextFrame);
}

/// A knob that moves by itself: between two pictures of the video nobody misses it, and a frame for
/// its sake costs as much as one for the video's.
bool ViewItem::followsVideo() const {
    const auto view = view_.lock();
    const auto* slider = dynamic_cast<const UISlider*>(view.get());
    return slider && !slider->isTracking();
}

void ViewItem::freeze() {
    frozen_ = true;
    takesFocus_ = false;
    ring_.reset();
    surface_.forget(*this);
}

void ViewItem::refresh() {
    const auto view = view_.lock();
    if (!view || frozen_) return;
    auto parts = std::exchange(noted_, 0);
    const auto before = size();
    if (parts & geometry) placeLike(*view);
    if (size() != before) parts |= content;
    if (parts & (look | content)) fadeLike(*view);
    if (parts & input) takeInputLike(*view);
    if (parts & content) {
        if (isVisible() && (opacity() > 0 || surface_.isMoving(*this))) {
            paintLike(*view);
        } else {
            noted_ |= content;
        }
    }
    if (parts & (description | content)) describeLike(*view);
}

void ViewItem::placeLike(const UIView& view) {
    const auto& transform = view.transform();
    const auto center = view.frame().center();
    const auto size = view.bounds().size;
    setPosition(
        {center.x - transform.tx - size.width / 2, center.y - transform.ty - size.height / 2});
    setSize({size.width, size.height});
    setClip(view.clipsToBounds());
    if (!transform_ && !transform.isIdentity()) transform_ = new Transform(*this);
    if (transform_) transform_->set(transform);
}

void ViewItem::fadeLike(const UIView& view) {
    const auto now = surface_.now();
    setVisible(!view.isHidden() || isFadingAway(view, now));
    setOpacity(view.presentationAlpha(now));
    const bool fades = view.animation() && now < view.animation()->end();
    if (fades || view.secondsPerTurn() > 0) surface_.animate(*this);
}

bool ViewItem::step(Clock::Instant now) {
    const auto view = view_.lock();
    if (!view || frozen_) return false;
    bool moves = false;
    if (const auto& fade = view->animation()) {
        setOpacity(view->presentationAlpha(now));
        moves = now < fade->end();
        if (!moves) setVisible(!view->isHidden());
    }
    const double turn = view->secondsPerTurn();
    if (turn <= 0 || !isVisible()) return moves;
    const std::chrono::duration<double> time = now.time_since_epoch();
    setRotation(std::fmod(time.count(), turn) / turn * 360);
    return true;
}

void ViewItem::paintLike(UIView& view) {
    background_ = view.backgroundColor() ? colorOf(*view.backgroundColor()) : Qt::transparent;
    if (const auto video = video_.lock()) {
        frame_ = video->newestFrame();
        gravity_ = video->videoGravity();
        surface_.videoChanged();
        subtitleLike(*video);
    } else if (draws_) {
        draw(view);
    }
    pictureChanged_ = true;
    if (draws_ || showsVideo_ || background_.alpha() > 0) setFlag(ItemHasContents);
    if (flags() & ItemHasContents) update();
    if (view.secondsPerTurn() > 0) surface_.animate(*this);
}

void ViewItem::setLight(double light) {
    if (std::exchange(light_, light) == light) return;
    if (subtitles_) subtitles_->setLight(light);
    pictureChanged_ = true;
    update();
}

void ViewItem::subtitleLike(const AVPlayerLayer& video) {
    const auto& cues = video.cues();
    if (cues.empty()) {
        if (auto* const over = std::exchange(subtitles_, nullptr)) over->retire();
        return;
    }
    if (!subtitles_) subtitles_ = new SubtitleItem(*this);
    const auto picture = frame_ ? VideoFit::of(*frame_, size(), gravity_).target : QRectF();
    const double scale = window() ? window()->effectiveDevicePixelRatio() : 1;
    subtitles_->show(cues, {picture.isEmpty() ? boundingRect() : picture, size(),
                            video.subtitleInset(), scale, light_});
}

void ViewItem::setVeilBelow(bool below) {
    if (std::exchange(veilBelow_, below) != below) update();
}

/// Only as large as it must be: what is transparent has to be blended, too.
void ViewItem::draw(const UIView& view) {
    BoundsCanvas measuring;
    view.draw(measuring);
    const double scale = window() ? window()->effectiveDevicePixelRatio() : 1;
    const auto seen = measuring.bounds.intersected(boundingRect());
    const auto pixels = QRectF(seen.topLeft() * scale, seen.size() * scale).toAlignedRect();
    picture_ = {};
    if (seen.isEmpty()) return;
    origin_ = QPointF(pixels.topLeft()) / scale;
    picture_ = QImage(pixels.size(), QImage::Format_ARGB32_Premultiplied);
    picture_.setDevicePixelRatio(scale);
    picture_.fill(Qt::transparent);
    PainterCanvas canvas(picture_, origin_);
    view.draw(canvas);
}

void ViewItem::takeInputLike(const UIView& view) {
    const auto* control = dynamic_cast<const UIControl*>(&view);
    takesFocus_ =
        control && control->isEnabled() && !view.isHidden() && view.isUserInteractionEnabled();
    if (!takesFocus_ && hasActiveFocus()) surface_.lost(*this);
    setActiveFocusOnTab(takesFocus_);
    if (control) setEnabled(control->isEnabled());
    if (takesFocus_) surface_.found(*this);
}

void ViewItem::describeLike(const UIView& view) {
    if (ViewAccessible::roleOf(view) == QAccessible::NoRole) return;
    const auto name = ViewAccessible::nameOf(view);
    const auto before = std::exchange(name_, name);
    if (!before) return makeAccessible(*this);
    if (*before != name) tell(QAccessible::NameChanged);
    if (!QAccessible::isActive() || dynamic_cast<const UISlider*>(&view)) return;
    const auto value = ViewAccessible::valueTextOf(view);
    if (std::exchange(valueText_, value) != value) tell(QAccessible::DescriptionChanged);
}

void ViewItem::tell(QAccessible::Event what) {
    QAccessibleEvent event(this, what);
    QAccessible::updateAccessibility(&event);
}

void ViewItem::tellMoved() {
    const auto view = view_.lock();
    const auto* slider = dynamic_cast<const UISlider*>(view.get());
    if (!slider) return;
    QAccessibleValueChangeEvent event(this, static_cast<double>(slider->value()));
    QAccessible::updateAccessibility(&event);
}

void ViewItem::lend(const std::shared_ptr<UIView>& view) {
    const auto* own = dynamic_cast<const HostItemView*>(view.get());
    auto* item = own && !own->isAtHome() ? own->item() : nullptr;
    if (!item || item->isAncestorOf(this)) return loan_.reset();
    if (loan_ && loan_->isOf(item)) return;
    if (auto* holder = qobject_cast<ViewItem*>(item->parentItem())) holder->loan_.reset();
    loan_ = std::make_unique<ItemLoan>(*item, *this);
    loan_->resize(size());
}

// MARK: the scene graph; the GUI thread waits

QSGNode* ViewItem::updatePaintNode(QSGNode* old, UpdatePaintNodeData*) {
    if (width() <= 0 || height() <= 0) {
        delete old;
        return nullptr;
    }
    auto* node = static_cast<ViewNode*>(old);
    if (!node) {
        node = new ViewNode(*window(), draws_ || showsVideo_);
        pictureChanged_ = true;
    }
    const bool drawn = std::exchange(pictureChanged_, false);
    if (drawn && showsVideo_) {
        updateVideo(*node);
    } else if (drawn && draws_) {
        const QRectF pixels = picture_.rect();
        node->setPicture(*window(), picture_, {origin_, picture_.deviceIndependentSize()}, pixels);
    }
    node->setBackground(boundingRect(), shownBackground());
    return node;
}

QColor ViewItem::shownBackground() const {
    if (veilBelow_) return Qt::transparent;
    const auto light = static_cast<float>(light_);
    return QColor::fromRgbF(background_.redF() * light, background_.greenF() * light,
                            background_.blueF() * light, background_.alphaF());
}

void ViewItem::updateVideo(ViewNode& node) {
    if (!frame_) return node.setPicture(*window(), {}, {}, {});
    const auto fit = VideoFit::of(*frame_, size(), gravity_);
    const bool software =
        window()->rendererInterface()->graphicsApi() == QSGRendererInterface::Software;
    if (!software) {
        const QSize whole(static_cast<int>(frame_->width), static_cast<int>(frame_->height));
        const auto image = frames_.rgb(*frame_, {{}, whole}, whole, light_);
        return node.setPicture(*window(), image, fit.target, fit.source);
    }
    // The renderer scales a picture slowly, the converter does it in passing.
    const double scale = window()->effectiveDevicePixelRatio();
    const auto pixels = (fit.target.size() * scale).toSize();
    const auto image = frames_.rgb(*frame_, fit.source.toRect(), pixels, light_);
    node.setPicture(*window(), image, {fit.target.topLeft(), QSizeF(pixels) / scale},
                    QRectF({}, QSizeF(pixels)));
}

// MARK: what the toolkit tells

void ViewItem::geometryChange(const QRectF& now, const QRectF& before) {
    QQuickItem::geometryChange(now, before);
    if (ring_) ring_->follow(now.size());
    if (loan_) loan_->resize(now.size());
}

void ViewItem::itemChange(ItemChange change, const ItemChangeData& data) {
    QQuickItem::itemChange(change, data);
    switch (change) {
        case ItemVisibleHasChanged:
        case ItemOpacityHasChanged:
            if (noted_) note(look);
            break;
        case ItemDevicePixelRatioHasChanged:
            note(content);
            break;
        default:
            break;
    }
}

void ViewItem::keyPressEvent(QKeyEvent* event) {
    const auto view = view_.lock();
    auto* control = dynamic_cast<UIControl*>(view.get());
    const bool used =
        control && pressKey(*control, event->key(), event->isAutoRepeat(), surface_.now());
    if (used && !ring_ && hasActiveFocus()) ring_ = std::make_unique<FocusRing>(*this);
    if (used) tellMoved();
    event->setAccepted(used);
}

void ViewItem::keyReleaseEvent(QKeyEvent* event) {
    const auto view = view_.lock();
    auto* control = dynamic_cast<UIControl*>(view.get());
    event->setAccepted(control && !event->isAutoRepeat() &&
                       releaseKey(*control, event->key(), surface_.now()));
}

void ViewItem::focusInEvent(QFocusEvent* event) {
    QQuickItem::focusInEvent(event);
    const auto reason = event->reason();
    if (reason == Qt::TabFocusReason || reason == Qt::BacktabFocusReason) {
        ring_ = std::make_unique<FocusRing>(*this);
    }
}

void ViewItem::focusOutEvent(QFocusEvent* event) {
    QQuickItem::focusOutEvent(event);
    ring_.reset();
}

}  // namespace korvel::platform::qtquick
