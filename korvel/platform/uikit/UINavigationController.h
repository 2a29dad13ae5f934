#pragma once

#include <korvel/platform/uikit/UIViewController.h>

namespace korvel::platform {

/// A stack of controllers whose uppermost one is seen. Draws no bar.
class KORVEL_API UINavigationController : public UIViewController {
public:
    UINavigationController();
    ~UINavigationController() override;

    const std::vector<std::shared_ptr<UIViewController>>& viewControllers() const {
        return children();
    }
    void pushViewController(const std::shared_ptr<UIViewController>& controller);
    /// Null, and nothing happens, if it is the last one.
    std::shared_ptr<UIViewController> popViewController();
    std::shared_ptr<UIViewController> topViewController() const;  ///< may be null
    /// What it presents, else the top one; may be null.
    std::shared_ptr<UIViewController> visibleViewController() const;

    void viewDidLoad() override;
    void viewWillLayoutSubviews() override;
};

}  // namespace korvel::platform
