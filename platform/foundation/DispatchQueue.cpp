#include <korvel/platform/foundation/DispatchQueue.h>
#include <korvel/platform/foundation/WorkQueue.h>

#include <algorithm>
#include <thread>
#include <utility>

namespace korvel::platform {

DispatchQueue::~DispatchQueue() = default;

std::shared_ptr<DispatchQueue> DispatchQueue::serial(std::string label) {
    return std::make_shared<WorkQueue>(
        WorkQueue::Options{.label = std::move(label), .width = 1, .grows = false});
}

DispatchQueue& DispatchQueue::global() {
    // Never destroyed: its threads and late callers may still use it while the process exits.
    static auto& pool = *new WorkQueue({.label = "korvel pool",
                                        .width = std::max(4u, std::thread::hardware_concurrency()),
                                        .grows = true});
    return pool;
}

}  // namespace korvel::platform
