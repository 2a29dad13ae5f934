#pragma once

#include <korvel/platform/uikit/UIWindow.h>

namespace korvel::platform {

/// Main queue.
class KORVEL_API UIApplication {
public:
    /// That of the device's screen.
    static UIApplication& shared();

    /// Null before a window was made key, and once that one has gone.
    std::shared_ptr<UIWindow> keyWindow() const { return keyWindow_.lock(); }

private:
    friend UIWindow;
    std::weak_ptr<UIWindow> keyWindow_;
};

}  // namespace korvel::platform
