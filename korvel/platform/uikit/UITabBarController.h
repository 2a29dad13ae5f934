#pragma once

#include <korvel/platform/uikit/UIViewController.h>

namespace korvel::platform {

/// Several controllers, one or none of which is seen. Draws no bar.
class KORVEL_API UITabBarController : public UIViewController {
public:
    UITabBarController();
    ~UITabBarController() override;

    const std::vector<std::shared_ptr<UIViewController>>& viewControllers() const {
        return children();
    }
    /// Keeps the selection if it is still among them, else selects the first.
    void setViewControllers(const std::vector<std::shared_ptr<UIViewController>>& controllers);
    std::shared_ptr<UIViewController> selectedViewController() const { return selected_.lock(); }
    /// Null selects none; one that is not among them is ignored.
    void setSelectedViewController(const std::shared_ptr<UIViewController>& controller);

    void viewDidLoad() override;
    void viewWillLayoutSubviews() override;

private:
    std::weak_ptr<UIViewController> selected_;
};

}  // namespace korvel::platform
