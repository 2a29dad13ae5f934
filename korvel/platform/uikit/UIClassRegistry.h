#pragma once

#include <korvel/platform/uikit/UIViewController.h>

#include <map>

namespace korvel::platform {

/// The controllers that a storyboard can make, by the class names in its file.
class KORVEL_API UIClassRegistry {
public:
    using Factory = std::function<std::shared_ptr<UIViewController>()>;

    void add(std::string name, Factory factory);
    template <class Controller> void add(std::string name) {
        add(std::move(name), [] { return platform::make<Controller>(); });
    }
    /// A plain `UIViewController` if no class has that name.
    std::shared_ptr<UIViewController> make(const std::string& name) const;

private:
    std::map<std::string, Factory> factories_;
};

}  // namespace korvel::platform
