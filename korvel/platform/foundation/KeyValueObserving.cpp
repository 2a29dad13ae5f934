#include <korvel/platform/foundation/KeyValueObserving.h>

#include <algorithm>
#include <utility>

namespace korvel::platform {

KeyValueObserver::~KeyValueObserver() = default;

void KeyValueObservers::add(std::weak_ptr<KeyValueObserver> observer, std::string keyPath) {
    std::erase_if(registrations_, [](const auto& each) { return each.observer.expired(); });
    registrations_.push_back({++given_, std::move(observer), std::move(keyPath)});
}

void KeyValueObservers::remove(const KeyValueObserver& observer, const std::string& keyPath) {
    const auto found =
        std::find_if(registrations_.rbegin(), registrations_.rend(), [&](const Registration& each) {
            return each.keyPath == keyPath && each.observer.lock().get() == &observer;
        });
    if (found != registrations_.rend()) registrations_.erase(std::next(found).base());
}

void KeyValueObservers::notify(const std::string& keyPath, Object& object,
                               const KeyValueChange& change) {
    const auto present = registrations_;  // an observer may add and remove
    for (const Registration& each : present) {
        if (each.keyPath != keyPath) continue;
        const bool stands =
            std::any_of(registrations_.begin(), registrations_.end(),
                        [&](const auto& other) { return other.number == each.number; });
        const auto observer = stands ? each.observer.lock() : nullptr;
        if (observer) observer->observeValueForKeyPath(keyPath, object, change);
    }
}

}  // namespace korvel::platform
