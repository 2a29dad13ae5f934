#pragma once

#include <korvel/platform/uikit/UIViewController.h>

namespace korvel::platform {

/// A root of a view tree, shown as a whole: a window of the toolkit, or a place in a host's own
/// window. Whoever shows it owns it, sizes it with `setFrame` and hands it the touches. Main queue.
class KORVEL_API UIWindow : public UIView {
public:
    explicit UIWindow(std::shared_ptr<Screen> screen, const CGRect& frame = {});
    ~UIWindow() override;

    const std::shared_ptr<Screen>& screen() const { return screen_; }
    const std::shared_ptr<UIViewController>& rootViewController() const { return root_; }
    /// Its view fills the window. What the previous one presented is dismissed.
    void setRootViewController(std::shared_ptr<UIViewController> controller);
    /// From now on it is the application's key window.
    void makeKeyAndVisible();
    bool isKeyWindow() const;

    // One touch at a time, in the window's coordinates. A new one cancels one that never ended.
    /// False if no view takes it: then the rest of it goes nowhere, too.
    bool touchBegan(CGPoint point, Clock::Instant time);
    void touchMoved(CGPoint point, Clock::Instant time);
    void touchEnded(CGPoint point, Clock::Instant time);
    void touchCancelled();

    /// A tap ends this near to its begin, this soon.
    static constexpr double tapDistance = 10;
    static constexpr Clock::Duration tapDuration = std::chrono::milliseconds(1500);

protected:
    void layoutSubviews() override;

private:
    friend UIView;
    friend UIViewController;

    void cover(const std::shared_ptr<UIView>& view);
    void uncover(const std::shared_ptr<UIView>& view);
    void willNeedLayout();
    void cancelTouchIn(const UIView& leaving);
    bool fireTap(UIView& touched);

    std::shared_ptr<Screen> screen_;
    std::shared_ptr<UIViewController> root_;
    std::vector<std::weak_ptr<UIView>> covers_;  ///< views that fill it
    bool layoutScheduled_ = false;
    std::weak_ptr<UIView> touched_;
    UITouch touch_{};  ///< its last moment
    UITouch touchBegin_{};
    bool mayBeTap_ = false;
};

}  // namespace korvel::platform
