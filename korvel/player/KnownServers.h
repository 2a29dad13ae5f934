#pragma once

#include <korvel/platform/foundation/URL.h>

#include <mutex>
#include <optional>

namespace korvel {

namespace platform {
struct Device;
}

/// Where the last class's stream and key came from: the next one's probably come from there, too,
/// and connections take longer than the service to answer. Any thread.
class KnownServers {
public:
    void noteStream(const platform::URL& url);
    void noteKey(const platform::URL& url);
    /// Opens connections there, and gets the device ready to play.
    void prepare(const platform::Device& device) const;

private:
    mutable std::mutex mutex_;
    std::optional<platform::URL> stream_;
    std::optional<platform::URL> key_;
};

}  // namespace korvel
