#pragma once

#include <korvel/platform/foundation/Data.h>
#include <korvel/platform/foundation/Export.h>
#include <korvel/platform/foundation/Object.h>

#include <mutex>

namespace korvel::platform {

/// Where the bytes of an answer go. Any thread.
class KORVEL_API AVAssetResourceLoadingDataRequest final : public Object {
public:
    /// Several pieces add up; after the request has finished they are dropped.
    void respond(const Data& data);

private:
    friend class AVAssetResourceLoadingRequest;
    Data close();

    std::mutex mutex_;
    Data data_;
    bool closed_ = false;
};

}  // namespace korvel::platform
