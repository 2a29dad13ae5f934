#pragma once

#include <korvel/platform/backends/gstreamer/Handles.h>
#include <korvel/platform/foundation/NSError.h>
#include <korvel/platform/foundation/ResponseStream.h>
#include <korvel/platform/foundation/URL.h>

#include <chrono>
#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>

namespace korvel::platform::gst {

/// What has come of a file, and why the last request failed: a pipeline says only that one did. Any
/// thread.
class Download {
public:
    struct Figures {
        std::uint64_t bytes = 0;
        std::chrono::nanoseconds busy{};  ///< time spent waiting for the line
        int requests = 0;
    };
    void failed(const NSError& error) {
        const std::lock_guard lock(mutex_);
        error_ = error;
    }
    void asked() {
        const std::lock_guard lock(mutex_);
        ++figures_.requests;
    }
    void came(std::size_t bytes, std::chrono::nanoseconds busy) {
        const std::lock_guard lock(mutex_);
        figures_.bytes += bytes;
        figures_.busy += busy;
    }
    std::optional<NSError> error() const {
        const std::lock_guard lock(mutex_);
        return error_;
    }
    Figures figures() const {
        const std::lock_guard lock(mutex_);
        return figures_;
    }

private:
    mutable std::mutex mutex_;
    std::optional<NSError> error_;
    Figures figures_;
};

/// A source element with the body behind an address, from any byte on.
Ref<GstElement> makeLoaderSource(const URL& url, std::shared_ptr<StreamLoader> loader,
                                 std::shared_ptr<Download> download);

}  // namespace korvel::platform::gst
