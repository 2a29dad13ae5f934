#include <korvel/platform/uikit/Canvas.h>
#include <korvel/platform/uikit/UIButton.h>

#include <algorithm>

namespace korvel::platform {

namespace {

constexpr double highlightedOpacity = 0.6;
constexpr double disabledOpacity = 0.4;

std::size_t indexOf(UIControlState state) { return static_cast<std::size_t>(state); }

/// In the middle of `bounds`, in its own proportions.
CGRect fitted(CGSize image, const CGRect& bounds, bool enlarge) {
    double scale = std::min(bounds.size.width / image.width, bounds.size.height / image.height);
    if (!enlarge) scale = std::min(scale, 1.0);
    const CGSize size{image.width * scale, image.height * scale};
    return {bounds.midX() - size.width / 2, bounds.midY() - size.height / 2, size.width,
            size.height};
}

}  // namespace

UIButton::UIButton(const CGRect& frame) : UIControl(frame) {}
UIButton::~UIButton() = default;

void UIButton::setBackgroundImage(std::optional<UIImage> image, UIControlState state) {
    set(backgrounds_, std::move(image), state);
}

std::optional<UIImage> UIButton::backgroundImage(UIControlState state) const {
    return backgrounds_[indexOf(state)];
}

void UIButton::setImage(std::optional<UIImage> image, UIControlState state) {
    set(images_, std::move(image), state);
}

std::optional<UIImage> UIButton::image(UIControlState state) const {
    return images_[indexOf(state)];
}

void UIButton::set(Images& images, std::optional<UIImage> image, UIControlState state) {
    if (assign(images[indexOf(state)], std::move(image), UIViewChange::content)) {
        invalidateIntrinsicContentSize();
    }
}

void UIButton::draw(Canvas& canvas) const {
    paint(canvas, backgrounds_, true);
    paint(canvas, images_, false);
}

void UIButton::paint(Canvas& canvas, const Images& images, bool enlarge) const {
    const auto& own = images[indexOf(state())];
    const auto& image = own ? own : images[indexOf(UIControlState::normal)];
    if (!image || image->isEmpty()) return;
    double opacity = 1;
    if (!own && state() == UIControlState::highlighted) opacity = highlightedOpacity;
    if (!own && state() == UIControlState::disabled) opacity = disabledOpacity;
    canvas.image(*image, fitted(image->size(), bounds(), enlarge), tintOf(*image), opacity);
}

std::optional<CGSize> UIButton::intrinsicContentSize() const {
    const auto& image = images_.front() ? images_.front() : backgrounds_.front();
    return image && !image->isEmpty() ? std::optional(image->size()) : std::nullopt;
}

}  // namespace korvel::platform
