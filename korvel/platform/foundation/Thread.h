#pragma once

#include <functional>
#include <string_view>

namespace korvel::platform {

/// Starts a thread that nobody joins: what it needs it must own. The host's signal handlers never
/// run on it. `name` shows in debuggers, its first 15 bytes. False if the system gives no more
/// threads.
[[nodiscard]] bool startThread(std::string_view name, std::function<void()> body);

/// The same for what must run some time: while the system gives no more threads `body` waits. It
/// runs on the next of these threads that comes to its end, or on one of its own once there is one
/// to be had, which is found out when others are asked for and by `startWaitingThreads`.
void startThreadOrWait(std::string_view name, std::function<void()> body);

/// Asks for the threads that bodies wait for. Cheap if none does; called with each turn of the main
/// queue.
void startWaitingThreads();

/// Runs `task` and destroys it. An exception ends the process here, with the task still on the
/// stack.
inline void perform(std::function<void()> task) noexcept {
    task();
    task = nullptr;
}

}  // namespace korvel::platform
