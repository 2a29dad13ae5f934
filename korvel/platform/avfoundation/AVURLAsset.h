#pragma once

#include <korvel/platform/avfoundation/AVAssetResourceLoader.h>
#include <korvel/platform/avfoundation/CMTime.h>
#include <korvel/platform/foundation/URL.h>

#include <memory>

namespace korvel::platform {

/// A stream by its address. Loading begins when a player gets an item of it. Main queue.
class KORVEL_API AVURLAsset final : public Object {
public:
    explicit AVURLAsset(URL url);
    ~AVURLAsset() override;

    const URL& url() const { return url_; }
    const std::shared_ptr<AVAssetResourceLoader>& resourceLoader() const { return loader_; }
    /// Indefinite until known, and always of the same positive timescale: times made at that scale
    /// are valid at any moment.
    CMTime duration() const { return duration_; }

private:
    friend class AVPlayerItem;
    const URL url_;
    const std::shared_ptr<AVAssetResourceLoader> loader_;
    CMTime duration_{0, nanosecondTimescale, CMTime::Kind::indefinite};
};

}  // namespace korvel::platform
