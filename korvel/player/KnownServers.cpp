#include <korvel/platform/Device.h>
#include <korvel/platform/avfoundation/MediaEngine.h>
#include <korvel/player/KnownServers.h>

namespace korvel {

void KnownServers::noteStream(const platform::URL& url) {
    const std::lock_guard lock(mutex_);
    stream_ = url;
}

void KnownServers::noteKey(const platform::URL& url) {
    const std::lock_guard lock(mutex_);
    key_ = url;
}

void KnownServers::prepare(const platform::Device& device) const {
    const std::lock_guard lock(mutex_);
    if (device.mediaEngine) device.mediaEngine->prepare(stream_);
    if (key_) device.urlSession->connect(*key_);
}

}  // namespace korvel
