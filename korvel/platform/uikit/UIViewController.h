#pragma once

#include <korvel/platform/foundation/SharedObject.h>
#include <korvel/platform/uikit/UIInterfaceOrientationMask.h>
#include <korvel/platform/uikit/UIView.h>

#include <string_view>

namespace korvel::platform {

class Screen;

/// Owns a view and decides what is shown over it. A controller owns the one that it presents and
/// its children; the way back is weak. Made by `make`. Main queue.
class KORVEL_API UIViewController : public Object, public SharedObject<UIViewController> {
public:
    UIViewController();
    ~UIViewController() override;

    /// Made at the first call: `loadView`, then `viewDidLoad`. Never null.
    const std::shared_ptr<UIView>& view();
    const std::shared_ptr<UIView>& viewIfLoaded() const { return view_; }
    /// Whoever gives a view before the first use of `view` gets neither the storyboard's nor
    /// `viewDidLoad`. Null lets go of it; the next use makes one again.
    void setView(std::shared_ptr<UIView> view);

    /// Sets the view: the storyboard's, its outlets connected, else an empty one.
    virtual void loadView();
    virtual void viewDidLoad() {}
    virtual void viewWillLayoutSubviews() {}
    virtual void viewDidLayoutSubviews() {}  ///< the view's direct subviews have their places
    /// The storyboard connects the view to the outlet of that name. Keep it weakly, the view tree
    /// owns it.
    virtual void setOutlet(std::string_view /*name*/, const std::shared_ptr<UIView>&) {}

    virtual UIInterfaceOrientationMask supportedInterfaceOrientations() const {
        return UIInterfaceOrientationMaskAll;
    }
    virtual bool shouldAutorotate() const { return true; }

    std::shared_ptr<UIViewController> parent() const { return parent_.lock(); }
    const std::vector<std::shared_ptr<UIViewController>>& children() const { return children_; }
    void addChild(std::shared_ptr<UIViewController> child);
    void removeFromParent();

    const std::shared_ptr<UIViewController>& presentedViewController() const { return presented_; }
    std::shared_ptr<UIViewController> presentingViewController() const {
        return presenting_.lock();
    }
    /// Shows it over the whole window. Refused, without a sign and without completion: itself, one
    /// that is presented already or that this is shown over, a second one at a time, and on a
    /// controller that is in no window. `completion` runs on the main queue, after the transition.
    void present(std::shared_ptr<UIViewController> controller, bool animated,
                 std::function<void()> completion = {});
    /// Ends what this presents, and all above that; if it presents nothing, its own presentation.
    /// `completion` runs on the main queue after the transition; at once if there was nothing to
    /// end.
    void dismiss(bool animated, std::function<void()> completion = {});

    /// How long an animated presentation takes.
    static constexpr Clock::Duration transitionDuration = std::chrono::milliseconds(250);

private:
    friend class UIStoryboard;
    friend class UIWindow;

    using Nib = std::function<void(UIViewController&)>;  ///< sets the view and the outlets

    std::shared_ptr<UIWindow> presentationWindow() const;
    bool mayPresent(const std::shared_ptr<UIViewController>& controller) const;
    void dismissPresented(bool animated, std::function<void()> completion);

    std::shared_ptr<UIView> view_;
    Nib nib_;
    std::weak_ptr<UIViewController> parent_;
    std::vector<std::shared_ptr<UIViewController>> children_;
    std::shared_ptr<UIViewController> presented_;
    std::weak_ptr<UIViewController> presenting_;
    std::weak_ptr<UIWindow> window_;  ///< whose root it is
};

}  // namespace korvel::platform
