#pragma once

#include <korvel/platform/foundation/Clock.h>
#include <korvel/platform/foundation/Export.h>

#include <functional>
#include <memory>
#include <string>

namespace korvel::platform {

/// Runs tasks in the order in which they were given, one after another (a serial queue) or several
/// at once (a global one). Any thread.
///
/// Ownership: a task is destroyed right after it ran, on the thread that ran it; what has not run
/// when the process exits never runs and holds nothing up. An exception out of a task ends the
/// process; an empty task is ignored.
class KORVEL_API DispatchQueue {
public:
    using Task = std::function<void()>;
    enum class QualityOfService {
        unspecified,
        background,  ///< on threads that leave the processor to others: what nobody waits for
    };

    virtual ~DispatchQueue();
    virtual void async(Task task) = 0;
    virtual void asyncAfter(Clock::Duration delay, Task task) = 0;

    /// A queue with a thread of its own, made at the first task: a task that blocks for ever
    /// starves nobody else.
    static std::shared_ptr<DispatchQueue> serial(std::string label);
    /// The process's pool for work of that quality. It grows when all its threads block.
    static DispatchQueue& global(QualityOfService quality = QualityOfService::unspecified);
};

}  // namespace korvel::platform
