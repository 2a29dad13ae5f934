#pragma once

#include <korvel/platform/foundation/Clock.h>
#include <korvel/platform/foundation/Object.h>
#include <korvel/platform/foundation/SharedObject.h>
#include <korvel/platform/uikit/CALayer.h>
#include <korvel/platform/uikit/CGAffineTransform.h>
#include <korvel/platform/uikit/CGRect.h>
#include <korvel/platform/uikit/NSLayoutAnchor.h>
#include <korvel/platform/uikit/UIAccessibilityRole.h>
#include <korvel/platform/uikit/UIColor.h>
#include <korvel/platform/uikit/UITouch.h>
#include <korvel/platform/uikit/UIViewAnimation.h>
#include <korvel/platform/uikit/UIViewTreeObserver.h>

#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace korvel::platform {

class Canvas;
class UIImage;
class UITapGestureRecognizer;
class UIViewController;
class UIWindow;

/// A rectangle of the screen with pixels, touches and subviews. Made by `make`; a
/// superview owns its subviews. Main queue.
class KORVEL_API UIView : public Object, public SharedObject<UIView> {
public:
    explicit UIView(const CGRect& frame = {});
    ~UIView() override;

    // Place. The frame is in the superview's coordinates and, with a transform, the upright
    // rectangle around what is seen; setting it sets what it would be without the transform.
    CGRect frame() const;
    void setFrame(const CGRect& frame);
    CGRect bounds() const { return {{}, rect_.size}; }
    void setBounds(const CGRect& bounds);  ///< its size, about the centre
    const CGAffineTransform& transform() const { return transform_; }
    void setTransform(const CGAffineTransform& transform);  ///< about the centre
    CGPoint convertFromWindow(CGPoint point) const;         ///< from the topmost view's coordinates
    CGPoint convertToWindow(CGPoint point) const;

    // Looks
    double alpha() const { return alpha_; }
    void setAlpha(double alpha);  ///< 0 to 1
    /// What the user sees at that time, while an animation is under way.
    double presentationAlpha(Clock::Instant time) const;
    /// The last one, under way or over; nothing if the alpha was set at once since.
    const std::optional<UIViewAnimation>& animation() const { return animation_; }
    bool isHidden() const { return hidden_; }
    void setHidden(bool hidden) { assign(hidden_, hidden, UIViewChange::hidden); }
    bool clipsToBounds() const { return clips_; }
    void setClipsToBounds(bool clips) { assign(clips_, clips, UIViewChange::geometry); }
    const std::optional<UIColor>& backgroundColor() const { return background_; }
    void setBackgroundColor(std::optional<UIColor> color) {
        assign(background_, color, UIViewChange::content);
    }
    const std::optional<UIColor>& tintColor() const { return tint_; }  ///< its own
    void setTintColor(std::optional<UIColor> color);
    std::optional<UIColor> effectiveTintColor() const;  ///< its own, else the nearest ancestor's
    const std::shared_ptr<CALayer>& layer();            ///< made at the first call

    // Tree. A view that already is a subview comes to the front; one that holds this is refused.
    std::shared_ptr<UIView> superview() const;
    const std::vector<std::shared_ptr<UIView>>& subviews() const { return subviews_; }
    std::shared_ptr<UIWindow> window() const;
    void addSubview(std::shared_ptr<UIView> view);
    void removeFromSuperview();  ///< its constraints with what it leaves vanish
    void bringSubviewToFront(const std::shared_ptr<UIView>& view);
    bool isDescendantOf(const UIView& view) const;  ///< or that view itself
    /// Owned by this view until it is let go, or this view ends: for the controller of a subview
    /// that nobody else owns.
    void keep(std::shared_ptr<Object> companion);
    void letGo(const std::shared_ptr<Object>& companion);

    // Layout. A view that translates its mask stays where its frame says; others go where the
    // constraints say, then as large as their content wants, else they stay.
    bool translatesAutoresizingMaskIntoConstraints() const { return translatesMask_; }
    void setTranslatesAutoresizingMaskIntoConstraints(bool translates);
    NSLayoutXAxisAnchor leadingAnchor() { return {weak_from_this(), NSLayoutAttribute::leading}; }
    NSLayoutXAxisAnchor trailingAnchor() { return {weak_from_this(), NSLayoutAttribute::trailing}; }
    NSLayoutXAxisAnchor centerXAnchor() { return {weak_from_this(), NSLayoutAttribute::centerX}; }
    NSLayoutYAxisAnchor topAnchor() { return {weak_from_this(), NSLayoutAttribute::top}; }
    NSLayoutYAxisAnchor bottomAnchor() { return {weak_from_this(), NSLayoutAttribute::bottom}; }
    NSLayoutYAxisAnchor centerYAnchor() { return {weak_from_this(), NSLayoutAttribute::centerY}; }
    NSLayoutDimension widthAnchor() { return {weak_from_this(), NSLayoutAttribute::width}; }
    NSLayoutDimension heightAnchor() { return {weak_from_this(), NSLayoutAttribute::height}; }
    /// Active ones that this view keeps, as nearest common ancestor.
    const std::vector<std::shared_ptr<NSLayoutConstraint>>& constraints() const {
        return constraints_;
    }
    void setNeedsLayout();
    /// Done at once what the window would do at the next turn of the main queue.
    void layoutIfNeeded();

    // Input
    bool isUserInteractionEnabled() const { return interaction_; }
    void setUserInteractionEnabled(bool enabled) {
        assign(interaction_, enabled, UIViewChange::interaction);
    }
    void addGestureRecognizer(std::shared_ptr<UITapGestureRecognizer> recognizer);
    const std::vector<std::shared_ptr<UITapGestureRecognizer>>& gestureRecognizers() const {
        return recognizers_;
    }
    /// The frontmost view there that takes touches: not hidden, alpha at least 0.01, interaction
    /// enabled, and so all above it. A control is hit a little beside it, too, where no other is.
    /// In this view's coordinates; null if there is none.
    std::shared_ptr<UIView> hitTest(CGPoint point);

    // Accessibility
    const std::string& accessibilityLabel() const { return accessibilityLabel_; }
    void setAccessibilityLabel(std::string label) {
        assign(accessibilityLabel_, std::move(label), UIViewChange::accessibility);
    }
    virtual UIAccessibilityRole accessibilityRole() const { return UIAccessibilityRole::none; }
    /// What it stands at, in words: "paused", "0:12 of 0:30". Asked for whenever somebody wants to
    /// know, since it may change many times a second.
    std::string accessibilityValue() const {
        return accessibilityValue_ ? accessibilityValue_() : std::string();
    }
    void setAccessibilityValue(std::function<std::string()> value) {
        accessibilityValue_ = std::move(value);
        changed(UIViewChange::accessibility);
    }
    /// What a keyboard's escape and its space bar mean where no control has the focus; true if it
    /// did something.
    virtual bool accessibilityPerformEscape() { return false; }
    virtual bool accessibilityPerformMagicTap() { return false; }

    /// Changes of `alpha` within `animations` are shown over that time; `completion` runs after it.
    /// On the device's screen: `Screen::animate`.
    static void animate(double seconds, const std::function<void()>& animations,
                        std::function<void()> completion = {});

    // For the mirror of a toolkit, and for classes that draw
    virtual bool drawsContent() const { return false; }  ///< more than a background
    virtual void draw(Canvas&) const {}                  ///< over the background, below subviews
    virtual double secondsPerTurn() const { return 0; }  ///< rotates for ever; 0: stands still
    virtual std::optional<CGSize> intrinsicContentSize() const { return std::nullopt; }
    void setNeedsDisplay() { changed(UIViewChange::content); }
    virtual void tintColorDidChange() {}  ///< its own or the one that it inherits
    virtual void touchesBegan(const UITouch&) {}
    virtual void touchesMoved(const UITouch&) {}
    virtual void touchesEnded(const UITouch&) {}
    virtual void touchesCancelled(const UITouch&) {}

protected:
    virtual std::shared_ptr<CALayer> makeLayer() const;
    virtual CGRect touchBounds() const { return bounds(); }  ///< where a touch is meant for it
    virtual void layoutSubviews() {}  ///< after the constraints were followed
    void changed(UIViewChange what);
    template <class T> bool assign(T& property, T value, UIViewChange what) {
        if (property == value) return false;
        property = std::move(value);
        changed(what);
        return true;
    }
    void invalidateIntrinsicContentSize();
    /// What an image in this view takes for its colours, by its rendering mode.
    std::optional<UIColor> tintOf(const UIImage& image) const;

private:
    friend NSLayoutConstraint;
    friend UIViewController;
    friend UIWindow;
    friend class ViewLayout;

    bool takesTouches() const;
    void setRect(const CGRect& rect);
    void enter(UIWindow* window);
    void tellTint();
    template <class Condition> void dropConstraintsIf(Condition condition);
    void dropConstraintsTo(const UIView& leaving);
    void dropDeadConstraints();
    void layoutSubtree();
    void forgetLayout();

    CGRect rect_;  ///< the frame without the transform
    CGAffineTransform transform_;
    double alpha_ = 1;
    std::optional<UIViewAnimation> animation_;
    std::optional<UIColor> background_;
    std::optional<UIColor> tint_;
    bool hidden_ = false;
    bool clips_ = false;
    bool interaction_ = true;
    bool translatesMask_ = true;
    bool needsLayout_ = true;
    bool subtreeNeedsLayout_ = false;
    std::string accessibilityLabel_;
    std::function<std::string()> accessibilityValue_;
    UIView* superview_ = nullptr;
    UIWindow* window_ = nullptr;  ///< above it; cleared by the window's destructor
    std::vector<std::shared_ptr<UIView>> subviews_;
    std::vector<std::shared_ptr<NSLayoutConstraint>> constraints_;
    std::vector<std::shared_ptr<UITapGestureRecognizer>> recognizers_;
    std::shared_ptr<CALayer> layer_;
    std::weak_ptr<UIViewController> controller_;  ///< whose view it is
    std::vector<std::shared_ptr<Object>> companions_;
};

}  // namespace korvel::platform
