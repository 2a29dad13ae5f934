#pragma once

#include <korvel/platform/backends/gstreamer/Handles.h>
#include <korvel/platform/foundation/NSError.h>
#include <korvel/platform/foundation/ResponseStream.h>
#include <korvel/platform/foundation/URL.h>

#include <memory>
#include <mutex>
#include <optional>

namespace korvel::platform::gst {

/// Why the last download failed: a pipeline says only that one did. Any thread.
class Trouble {
public:
    void note(const NSError& error) {
        const std::lock_guard lock(mutex_);
        last_ = error;
    }
    std::optional<NSError> last() const {
        const std::lock_guard lock(mutex_);
        return last_;
    }

private:
    mutable std::mutex mutex_;
    std::optional<NSError> last_;
};

/// A source element with the body behind an address, from any byte on.
Ref<GstElement> makeLoaderSource(const URL& url, std::shared_ptr<StreamLoader> loader,
                                 std::shared_ptr<Trouble> trouble);

}  // namespace korvel::platform::gst
