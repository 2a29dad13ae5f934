#pragma once

#include <atomic>
#include <functional>
#include <memory>

namespace cli {

/// Ctrl-C and SIGTERM as a state, so that a command ends in order. A second one ends the process at
/// once, whatever it is doing.
class Interruption {
public:
    /// Before the process's first thread, which would not inherit the blocked signals otherwise.
    Interruption();
    /// `wake` is called on a background thread when the signal comes; once at most. Call it once.
    void watch(std::function<void()> wake);
    bool came() const { return *came_; }

private:
    std::shared_ptr<std::atomic<bool>> came_;
};

}  // namespace cli
