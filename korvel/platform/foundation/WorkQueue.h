#pragma once

#include <korvel/platform/foundation/DispatchQueue.h>

#include <memory>
#include <string>

namespace korvel::platform {

/// A queue with threads of its own, made when tasks come and ended when they stay away. With one
/// thread that does not grow it is a serial queue.
///
/// Ownership: the tasks given run even if the queue object goes first, be it from its own task.
class WorkQueue final : public DispatchQueue {
public:
    struct Options {
        std::string label;  ///< names the threads
        std::size_t width;  ///< threads at most, not counting those that block
        bool grows;         ///< whether more are made while some block
        /// A thread ends after so long without a task.
        Clock::Duration idle = std::chrono::seconds(10);
        int niceness = 0;  ///< how far its threads stand back behind the process's others
    };

    explicit WorkQueue(Options options);
    ~WorkQueue() override;

    void async(Task task) override;
    void asyncAfter(Clock::Duration delay, Task task) override;

private:
    struct State;
    std::shared_ptr<State> state_;
};

}  // namespace korvel::platform
