#include <korvel/platform/Device.h>
#include <korvel/platform/StandardDevice.h>

#include <algorithm>
#include <atomic>
#include <mutex>
#include <utility>

namespace korvel::platform {

namespace {

std::mutex installation;
std::atomic<const Device*> inUse = nullptr;

/// Never destroyed: background threads may use it while the process exits.
const Device* use(Device device, const DeviceOptions& options) {
    complete(device, options);
    const auto* kept = new Device(std::move(device));
    inUse = kept;
    return kept;
}

}  // namespace

Device Device::standard(const DeviceOptions& options) {
    Device device;
    complete(device, options);
    return device;
}

bool Device::install(Device device, const DeviceOptions& options) {
    const std::lock_guard lock(installation);
    if (inUse) return false;
    use(std::move(device), options);
    return true;
}

const Device& Device::current() {
    if (const auto* device = inUse.load()) return *device;
    const std::lock_guard lock(installation);
    const auto* device = inUse.load();
    return device ? *device : *use({}, {});
}

const Bundle* Device::bundle(std::string_view identifier) const {
    const auto found = std::find_if(bundles.begin(), bundles.end(), [&](const Bundle& candidate) {
        return candidate.bundleIdentifier() == identifier;
    });
    return found == bundles.end() ? nullptr : &*found;
}

}  // namespace korvel::platform
