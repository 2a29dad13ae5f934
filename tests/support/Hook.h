#pragma once

#include <functional>
#include <mutex>
#include <utility>

namespace korvel::tests {

/// What a test wants to happen at a fake's call. Background threads may still call when a test ends
/// and takes it away: once that is done, it does not run any more.
template <class... Arguments> class Hook {
public:
    using Function = std::function<void(Arguments...)>;

    Hook& operator=(Function function) {
        const std::lock_guard lock(mutex_);
        function_ = std::move(function);
        return *this;
    }
    void operator()(Arguments... arguments) const {
        const std::lock_guard lock(mutex_);
        if (function_) function_(arguments...);
    }

private:
    mutable std::mutex mutex_;
    Function function_;
};

}  // namespace korvel::tests
