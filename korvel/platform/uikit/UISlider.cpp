#include <korvel/platform/uikit/Canvas.h>
#include <korvel/platform/uikit/UISlider.h>

#include <algorithm>
#include <cmath>
#include <utility>

namespace korvel::platform {

namespace {

constexpr double trackHeight = 4;
constexpr double plainThumbSize = 24;
constexpr double leastHeight = 44;        // of something that a finger can take
constexpr double leastGrabDistance = 12;  // beside the knob
constexpr double visibleStep = 0.25;
constexpr UIColor restOfTrack{1, 1, 1, 0.35F};

}  // namespace

UISlider::UISlider(const CGRect& frame) : UIControl(frame) {}
UISlider::~UISlider() = default;

void UISlider::setValue(float value, bool) {
    if (std::isnan(value)) return;
    value_ = std::clamp(value, minimum_, maximum_);
    moved();
}

void UISlider::setMinimumValue(float minimum) {
    if (std::isnan(minimum)) return;
    minimum_ = minimum;
    maximum_ = std::max(maximum_, minimum);
    setValue(value_);
}

void UISlider::setMaximumValue(float maximum) {
    if (std::isnan(maximum)) return;
    maximum_ = maximum;
    minimum_ = std::min(minimum_, maximum);
    setValue(value_);
}

/// A player moves the knob many times a second by less than anybody sees: that is not told.
void UISlider::moved() {
    const double left = thumbRect().minX();
    if (std::abs(left - shownLeft_) < visibleStep) return;
    shownLeft_ = left;
    changed(UIViewChange::content);
}

void UISlider::setMinimumTrackTintColor(std::optional<UIColor> color) {
    assign(minimumTrack_, color, UIViewChange::content);
}

void UISlider::setMaximumTrackTintColor(std::optional<UIColor> color) {
    assign(maximumTrack_, color, UIViewChange::content);
}

void UISlider::setThumbTintColor(std::optional<UIColor> color) {
    assign(thumbTint_, color, UIViewChange::content);
}

void UISlider::setThumbImage(std::optional<UIImage> image, UIControlState state) {
    if (state != UIControlState::normal) return;
    if (assign(thumbImage_, std::move(image), UIViewChange::content)) {
        invalidateIntrinsicContentSize();
    }
}

CGSize UISlider::thumbSize() const {
    return thumbImage_ && !thumbImage_->isEmpty() ? thumbImage_->size()
                                                  : CGSize{plainThumbSize, plainThumbSize};
}

double UISlider::fraction() const {
    const double span = static_cast<double>(maximum_) - minimum_;
    const double share = (static_cast<double>(value_) - minimum_) / span;
    return std::isfinite(share) ? share : 0;
}

CGRect UISlider::thumbRect() const {
    const auto size = thumbSize();
    const double way = std::max(0.0, bounds().size.width - size.width);
    return {fraction() * way, bounds().midY() - size.height / 2, size.width, size.height};
}

void UISlider::draw(Canvas& canvas) const {
    const auto thumb = thumbRect();
    const double top = bounds().midY() - trackHeight / 2;
    const double middle = thumb.midX();
    const auto tint = effectiveTintColor().value_or(UIColor::systemBlue());
    canvas.fill({0, top, bounds().size.width, trackHeight}, trackHeight / 2,
                maximumTrack_.value_or(restOfTrack));
    canvas.fill({0, top, middle, trackHeight}, trackHeight / 2, minimumTrack_.value_or(tint));
    if (!thumbImage_ || thumbImage_->isEmpty()) {
        canvas.fill(thumb, thumb.size.width / 2, thumbTint_.value_or(UIColor::white()));
        return;
    }
    const bool keepsColors = thumbImage_->renderingMode() == UIImage::RenderingMode::alwaysOriginal;
    canvas.image(*thumbImage_, thumb, keepsColors ? std::nullopt : thumbTint_, 1);
}

std::optional<CGSize> UISlider::intrinsicContentSize() const {
    return CGSize{4 * thumbSize().width, std::max(leastHeight, thumbSize().height)};
}

double UISlider::grabDistance() const {
    return std::max(leastGrabDistance, (leastTouchSize - thumbSize().width) / 2);
}

CGRect UISlider::touchBounds() const {
    return UIControl::touchBounds().insetBy(-grabDistance(), 0);
}

void UISlider::beginTracking(CGPoint point) {
    dragged_ = false;
    const auto thumb = thumbRect();
    const double beside = grabDistance();
    const bool taken = point.x >= thumb.minX() - beside && point.x < thumb.maxX() + beside;
    grip_ = taken ? point.x - thumb.minX() : thumb.size.width / 2;
    if (!taken) drag(point.x - grip_);
}

void UISlider::continueTracking(CGPoint point) { drag(point.x - grip_); }

void UISlider::endTracking() {
    if (std::exchange(dragged_, false)) sendActions(UIControlEvents::valueChanged);
}

void UISlider::drag(double thumbLeft) {
    const double way = bounds().size.width - thumbSize().width;
    if (way <= 0) return;
    const float before = value_;
    const double span = static_cast<double>(maximum_) - minimum_;
    setValue(static_cast<float>(minimum_ + thumbLeft / way * span));
    if (value_ == before) return;
    if (continuous_) {
        sendActions(UIControlEvents::valueChanged);
    } else {
        dragged_ = true;
    }
}

}  // namespace korvel::platform
