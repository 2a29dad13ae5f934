#pragma once

#include <korvel/platform/foundation/Bundle.h>
#include <korvel/platform/uikit/UIClassRegistry.h>

namespace korvel::platform {

/// Scenes read from "<name>.storyboard.json" of a bundle. A value; main queue.
class KORVEL_API UIStoryboard {
public:
    /// A file that is missing or damaged holds no scenes.
    UIStoryboard(std::string_view name, const Bundle& bundle, UIClassRegistry classes);

    /// A new controller that makes the scene's views at the first use of its view; null if there is
    /// no such scene, a plain `UIViewController` if nobody knows its class.
    std::shared_ptr<UIViewController> instantiateViewController(std::string_view identifier) const;

private:
    struct File;
    std::shared_ptr<const File> file_;
    UIClassRegistry classes_;
};

}  // namespace korvel::platform
