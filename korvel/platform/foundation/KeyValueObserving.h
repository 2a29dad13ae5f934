#pragma once

#include <korvel/platform/foundation/Object.h>

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace korvel::platform {

struct KeyValueChange {
    std::int64_t newValue = 0;  ///< truth values are 0 and 1
};

/// Hears of an object's property when it has changed.
class KORVEL_API KeyValueObserver {
public:
    virtual ~KeyValueObserver();
    /// Main queue. `object` is the one whose property it is.
    virtual void observeValueForKeyPath(const std::string& keyPath, Object& object,
                                        const KeyValueChange& change) = 0;
};

/// The observers of one object. Main queue.
class KORVEL_API KeyValueObservers {
public:
    /// Held weakly. Added twice, it is told twice.
    void add(std::weak_ptr<KeyValueObserver> observer, std::string keyPath);
    /// Takes back one registration, the newest; does nothing if there is none.
    void remove(const KeyValueObserver& observer, const std::string& keyPath);
    /// Tells those that are registered now and still are when their turn comes.
    void notify(const std::string& keyPath, Object& object, const KeyValueChange& change);

private:
    struct Registration {
        std::uint64_t number;
        std::weak_ptr<KeyValueObserver> observer;
        std::string keyPath;
    };
    std::vector<Registration> registrations_;
    std::uint64_t given_ = 0;
};

}  // namespace korvel::platform
