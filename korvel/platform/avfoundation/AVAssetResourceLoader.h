#pragma once

#include <korvel/platform/avfoundation/AVAssetResourceLoadingRequest.h>
#include <korvel/platform/foundation/DispatchQueue.h>
#include <korvel/platform/foundation/SharedObject.h>

#include <atomic>
#include <memory>
#include <mutex>

namespace korvel::platform {

class AVAssetResourceLoader;

/// Answers an asset's key requests. Called on the queue given with it, which it may block for ever.
class KORVEL_API AVAssetResourceLoaderDelegate {
public:
    virtual ~AVAssetResourceLoaderDelegate();
    /// True: the request is answered, now or at any later time. False: it is not taken, and fails
    /// unless it was finished with another error already.
    virtual bool shouldWaitForLoadingOfRequestedResource(
        AVAssetResourceLoader& resourceLoader,
        std::shared_ptr<AVAssetResourceLoadingRequest> loadingRequest) = 0;
};

/// Carries an asset's key requests to its delegate. Any thread; made by `make`.
class KORVEL_API AVAssetResourceLoader : public Object, public SharedObject<AVAssetResourceLoader> {
public:
    /// The delegate is held weakly. A null delegate or queue: requests fail.
    void setDelegate(std::weak_ptr<AVAssetResourceLoaderDelegate> delegate,
                     std::shared_ptr<DispatchQueue> queue);
    std::shared_ptr<AVAssetResourceLoaderDelegate> delegate() const;
    std::shared_ptr<DispatchQueue> delegateQueue() const;
    /// Keys are asked for as soon as the asset names them, not only when they are wanted; not at
    /// first.
    void setPreloadsEligibleContentKeys(bool preloads) { preloads_ = preloads; }
    bool preloadsEligibleContentKeys() const { return preloads_; }

    // For media engines.

    /// Asks the delegate; returns at once. `finished` as with the request. If the delegate dies
    /// before it was asked, the request fails.
    std::shared_ptr<AVAssetResourceLoadingRequest> load(
        URLRequest request, AVAssetResourceLoadingRequest::Finished finished);
    /// The device's; set by the player that opens the asset.
    void setContentKeySystem(std::shared_ptr<const ContentKeySystem> keySystem);
    /// That of the device's; null without one.
    std::shared_ptr<const SampleCipher> sampleCipher(SampleCipher::Scheme scheme) const;

private:
    std::atomic<bool> preloads_ = false;
    mutable std::mutex mutex_;
    std::weak_ptr<AVAssetResourceLoaderDelegate> delegate_;
    std::shared_ptr<DispatchQueue> queue_;
    std::shared_ptr<const ContentKeySystem> keySystem_;
};

}  // namespace korvel::platform
