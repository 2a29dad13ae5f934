#include <korvel/platform/foundation/DispatchQueue.h>
#include <korvel/platform/foundation/WorkQueue.h>

#include <algorithm>
#include <thread>
#include <utility>

namespace korvel::platform {

namespace {
constexpr int backgroundNiceness = 10;  // about a tenth of the share of a thread with 0
}

DispatchQueue::~DispatchQueue() = default;

std::shared_ptr<DispatchQueue> DispatchQueue::serial(std::string label) {
    return std::make_shared<WorkQueue>(
        WorkQueue::Options{.label = std::move(label), .width = 1, .grows = false});
}

DispatchQueue& DispatchQueue::global(QualityOfService quality) {
    // Never destroyed: its threads and late callers may still use it while the process exits.
    static auto& pool = *new WorkQueue({.label = "korvel pool",
                                        .width = std::max(4u, std::thread::hardware_concurrency()),
                                        .grows = true});
    static auto& background = *new WorkQueue(
        {.label = "korvel bg pool", .width = 1, .grows = true, .niceness = backgroundNiceness});
    return quality == QualityOfService::background ? background : pool;
}

}  // namespace korvel::platform
