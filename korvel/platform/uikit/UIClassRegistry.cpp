#include <korvel/platform/uikit/UIClassRegistry.h>

#include <utility>

namespace korvel::platform {

void UIClassRegistry::add(std::string name, Factory factory) {
    factories_[std::move(name)] = std::move(factory);
}

std::shared_ptr<UIViewController> UIClassRegistry::make(const std::string& name) const {
    const auto found = factories_.find(name);
    auto controller = found == factories_.end() ? nullptr : found->second();
    return controller ? controller : platform::make<UIViewController>();
}

}  // namespace korvel::platform
