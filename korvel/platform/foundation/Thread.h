#pragma once

#include <functional>
#include <string_view>

namespace korvel::platform {

/// Starts a thread that nobody joins: what it needs it must own. The host's signal handlers never
/// run on it. `name` shows in debuggers, its first 15 bytes. False if the system gives no more
/// threads.
[[nodiscard]] bool startThread(std::string_view name, std::function<void()> body);

/// Runs `task` and destroys it. An exception ends the process here, with the task still on the
/// stack.
inline void perform(std::function<void()> task) noexcept {
    task();
    task = nullptr;
}

}  // namespace korvel::platform
