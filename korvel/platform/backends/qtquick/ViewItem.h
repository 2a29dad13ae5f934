#pragma once

#include <korvel/platform/backends/qtquick/FocusRing.h>
#include <korvel/platform/backends/qtquick/HostItemView.h>
#include <korvel/platform/backends/qtquick/SubtitleItem.h>
#include <korvel/platform/backends/qtquick/VideoPicture.h>

#include <QtGui/qaccessible.h>

#include <memory>
#include <optional>

namespace korvel::platform::qtquick {

class Surface;
class ViewNode;

/// The pixels of one view, whatever its class, and the place of its subviews. Takes the keys of a
/// control that has the focus; touches go past it to the surface. Holds the view weakly.
class ViewItem final : public QQuickItem {
    Q_OBJECT

public:
    enum Part : unsigned { geometry = 1, look = 2, content = 4, input = 8, description = 16 };
    static constexpr unsigned everything = 31;

    ViewItem(const std::shared_ptr<UIView>& view, Surface& surface);
    ~ViewItem() override;

    std::shared_ptr<UIView> view() const { return view_.lock(); }
    std::uint64_t round = 0;  ///< the surface's, when it last found the view in its tree

    /// To be brought over with the next frame.
    void note(unsigned parts);
    void refresh();
    /// What moves by itself goes on to that time; false once nothing does.
    bool step(Clock::Instant now);
    /// The colour that the view lies under is in its pixels, or its own colour is in those of the
    /// video below it.
    void setLight(double light);
    void setVeilBelow(bool below);
    bool showsVideo() const { return showsVideo_; }
    /// From now on the pixels stay as they are.
    void freeze();
    /// Takes in the host's item for which the view stands as an overlay, or gives it back.
    void lend(const std::shared_ptr<UIView>& view);
    void giveBack() { loan_.reset(); }
    /// The host's item that is in it; null if none is.
    QQuickItem* lentItem() const { return loan_ ? loan_->item() : nullptr; }
    bool takesFocus() const { return takesFocus_; }
    bool isFrozen() const { return frozen_; }
    Surface& surface() const { return surface_; }

    /// Whether screen readers find it.
    bool isDescribed() const { return name_.has_value(); }
    /// The user has moved the slider's knob. That it moves by itself while a class plays would be
    /// read out for ever.
    void tellMoved();

protected:
    QSGNode* updatePaintNode(QSGNode* old, UpdatePaintNodeData*) override;
    void geometryChange(const QRectF& now, const QRectF& before) override;
    void itemChange(ItemChange change, const ItemChangeData& data) override;
    void keyPressEvent(QKeyEvent* event) override;
    void keyReleaseEvent(QKeyEvent* event) override;
    void focusInEvent(QFocusEvent* event) override;
    void focusOutEvent(QFocusEvent* event) override;

private:
    bool followsVideo() const;
    void placeLike(const UIView& view);
    void fadeLike(const UIView& view);
    void paintLike(UIView& view);
    void takeInputLike(const UIView& view);
    void describeLike(const UIView& view);
    void tell(QAccessible::Event what);
    void draw(const UIView& view);
    void subtitleLike(const AVPlayerLayer& video);
    void updateVideo(ViewNode& node);
    QColor shownBackground() const;

    const std::weak_ptr<UIView> view_;
    Surface& surface_;
    const bool draws_;
    const std::weak_ptr<AVPlayerLayer>
        video_;  ///< a player ends with its view, not with its pixels
    const bool showsVideo_;
    class Transform;
    Transform* transform_ = nullptr;
    unsigned noted_ = 0;
    bool frozen_ = false;
    bool takesFocus_ = false;
    std::optional<QString> name_;  ///< that screen readers were told
    QString valueText_;            ///< likewise

    QColor background_ = Qt::transparent;
    double light_ = 1;
    bool veilBelow_ = false;
    QImage picture_;
    QPointF origin_;  ///< of the picture
    bool pictureChanged_ = false;
    std::shared_ptr<const VideoFrame> frame_;
    AVLayerVideoGravity gravity_{};
    VideoPicture frames_;
    SubtitleItem* subtitles_ = nullptr;  ///< while there are any
    std::unique_ptr<ItemLoan> loan_;
    std::unique_ptr<FocusRing> ring_;
};

}  // namespace korvel::platform::qtquick
