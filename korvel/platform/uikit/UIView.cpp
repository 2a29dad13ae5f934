#include <korvel/platform/uikit/AnimationContext.h>
#include <korvel/platform/uikit/Canvas.h>
#include <korvel/platform/uikit/Screen.h>
#include <korvel/platform/uikit/UIControl.h>
#include <korvel/platform/uikit/UITapGestureRecognizer.h>

#include <algorithm>
#include <cmath>
#include <utility>

namespace korvel::platform {

Canvas::~Canvas() = default;
UIViewTreeObserver::~UIViewTreeObserver() = default;

CALayer::CALayer() = default;
CALayer::~CALayer() = default;

void CALayer::setNeedsDisplay() {
    if (const auto view = view_.lock()) view->setNeedsDisplay();
}

namespace {

/// From a view's own coordinates, with the upper left corner of its bounds as origin, to its
/// superview's.
CGAffineTransform outwards(const CGRect& rect, const CGAffineTransform& transform) {
    const CGPoint half{rect.size.width / 2, rect.size.height / 2};
    auto result = transform;
    const CGPoint moved = transform.apply(CGPoint{-half.x, -half.y});
    result.tx = moved.x + rect.origin.x + half.x;
    result.ty = moved.y + rect.origin.y + half.y;
    return result;
}

constexpr double leastTouchableAlpha = 0.01;

}  // namespace

UIView::UIView(const CGRect& frame) : rect_(frame) {}

UIView::~UIView() {
    for (const auto& view : subviews_) {
        view->superview_ = nullptr;
        view->enter(nullptr);
    }
}

CGRect UIView::frame() const {
    return transform_.isIdentity() ? rect_ : outwards(rect_, transform_).apply(bounds());
}

void UIView::setFrame(const CGRect& frame) {
    if (frame == rect_) return;
    setRect(frame);
    if (superview_) superview_->setNeedsLayout();
}

void UIView::setBounds(const CGRect& bounds) {
    const CGPoint center = rect_.center();
    setFrame({{center.x - bounds.size.width / 2, center.y - bounds.size.height / 2}, bounds.size});
}

void UIView::setRect(const CGRect& rect) {
    if (rect == rect_) return;
    const bool resized = rect.size != rect_.size;
    rect_ = rect;
    changed(UIViewChange::geometry);
    if (resized) setNeedsLayout();
}

void UIView::setTransform(const CGAffineTransform& transform) {
    assign(transform_, transform, UIViewChange::geometry);
}

CGPoint UIView::convertFromWindow(CGPoint point) const {
    if (!superview_) return point;
    point = superview_->convertFromWindow(point);
    if (transform_.isIdentity()) return {point.x - rect_.minX(), point.y - rect_.minY()};
    return outwards(rect_, transform_).inverted().apply(point);
}

CGPoint UIView::convertToWindow(CGPoint point) const {
    if (!superview_) return point;
    return superview_->convertToWindow(outwards(rect_, transform_).apply(point));
}

void UIView::setAlpha(double alpha) {
    alpha = std::clamp(alpha, 0.0, 1.0);
    if (alpha == alpha_ || std::isnan(alpha)) return;
    const auto* context = AnimationContext::current;
    if (!window_ || !context || context->duration <= Clock::Duration::zero()) {
        animation_.reset();
        assign(alpha_, alpha, UIViewChange::alpha);
        return;
    }
    animation_ = {presentationAlpha(context->begin), alpha, context->begin, context->duration};
    alpha_ = alpha;
    window_->screen()->tell(&UIViewTreeObserver::animationBegan, *this, *animation_);
}

double UIView::presentationAlpha(Clock::Instant time) const {
    return animation_ ? animation_->alphaAt(time) : alpha_;
}

void UIView::setTintColor(std::optional<UIColor> color) {
    if (tint_ == color) return;
    tint_ = color;
    tellTint();
}

void UIView::tellTint() {
    tintColorDidChange();
    for (const auto& view : subviews_) {
        if (!view->tint_) view->tellTint();
    }
}

std::optional<UIColor> UIView::effectiveTintColor() const {
    const auto* view = this;
    while (!view->tint_ && view->superview_) view = view->superview_;
    return view->tint_;
}

std::optional<UIColor> UIView::tintOf(const UIImage& image) const {
    switch (image.renderingMode()) {
        case UIImage::RenderingMode::alwaysOriginal:
            return std::nullopt;
        case UIImage::RenderingMode::alwaysTemplate:
            return effectiveTintColor();
        case UIImage::RenderingMode::automatic:
            break;
    }
    return tint_;
}

const std::shared_ptr<CALayer>& UIView::layer() {
    if (!layer_) {
        layer_ = makeLayer();
        layer_->view_ = weak_from_this();
    }
    return layer_;
}

std::shared_ptr<CALayer> UIView::makeLayer() const { return std::make_shared<CALayer>(); }

std::shared_ptr<UIView> UIView::superview() const {
    return superview_ ? superview_->weak_from_this().lock() : nullptr;
}

std::shared_ptr<UIWindow> UIView::window() const {
    return window_ ? std::static_pointer_cast<UIWindow>(window_->weak_from_this().lock()) : nullptr;
}

void UIView::keep(std::shared_ptr<Object> companion) {
    if (companion) companions_.push_back(std::move(companion));
}

void UIView::letGo(const std::shared_ptr<Object>& companion) {
    const auto found = std::find(companions_.begin(), companions_.end(), companion);
    if (found == companions_.end()) return;
    const auto released = std::move(*found);  // its end may come back here
    companions_.erase(found);
}

bool UIView::isDescendantOf(const UIView& view) const {
    const auto* ancestor = this;
    while (ancestor && ancestor != &view) ancestor = ancestor->superview_;
    return ancestor != nullptr;
}

void UIView::addSubview(std::shared_ptr<UIView> view) {
    if (!view || isDescendantOf(*view)) return;
    if (view->superview_ == this) return bringSubviewToFront(view);
    view->removeFromSuperview();
    view->superview_ = this;
    view->enter(window_);
    subviews_.push_back(std::move(view));
    setNeedsLayout();
    if (window_) window_->screen()->tell(&UIViewTreeObserver::subviewsChanged, *this);
}

void UIView::removeFromSuperview() {
    if (!superview_) return;
    const auto kept = shared_from_this();
    auto* const left = superview_;
    auto* const leftWindow = window_;
    for (auto* ancestor = left; ancestor; ancestor = ancestor->superview_) {
        ancestor->dropConstraintsTo(*this);
    }
    std::erase(left->subviews_, kept);
    superview_ = nullptr;
    enter(nullptr);
    left->setNeedsLayout();
    if (!leftWindow) return;
    leftWindow->screen()->tell(&UIViewTreeObserver::subviewsChanged, *left);
    leftWindow->cancelTouchIn(*this);
}

void UIView::bringSubviewToFront(const std::shared_ptr<UIView>& view) {
    const auto found = std::find(subviews_.begin(), subviews_.end(), view);
    if (found == subviews_.end() || found + 1 == subviews_.end()) return;
    std::rotate(found, found + 1, subviews_.end());
    if (window_) window_->screen()->tell(&UIViewTreeObserver::subviewsChanged, *this);
}

void UIView::enter(UIWindow* window) {
    if (window_ == window) return;
    window_ = window;
    animation_.reset();
    for (const auto& view : subviews_) view->enter(window);
}

void UIView::addGestureRecognizer(std::shared_ptr<UITapGestureRecognizer> recognizer) {
    if (recognizer) recognizers_.push_back(std::move(recognizer));
}

bool UIView::takesTouches() const {
    return !hidden_ && alpha_ >= leastTouchableAlpha && interaction_;
}

std::shared_ptr<UIView> UIView::hitTest(CGPoint point) {
    if (!takesTouches() || !bounds().contains(point)) return nullptr;
    std::shared_ptr<UIView> missed;  // by a little, and in front of whatever is met
    for (auto view = subviews_.rbegin(); view != subviews_.rend(); ++view) {
        const auto inside = outwards((*view)->rect_, (*view)->transform_).inverted().apply(point);
        if (auto hit = (*view)->hitTest(inside)) {
            return missed && !dynamic_cast<UIControl*>(hit.get()) ? missed : hit;
        }
        const bool near = (*view)->takesTouches() && (*view)->touchBounds().contains(inside);
        if (near && !missed) missed = *view;
    }
    return missed ? missed : shared_from_this();
}

void UIView::animate(double seconds, const std::function<void()>& animations,
                     std::function<void()> completion) {
    Screen::main().animate(seconds, animations, std::move(completion));
}

void UIView::changed(UIViewChange what) {
    if (window_) window_->screen()->tell(&UIViewTreeObserver::viewChanged, *this, what);
}

}  // namespace korvel::platform
