#include <korvel/platform/avfoundation/AVAssetResourceLoader.h>
#include <korvel/platform/avfoundation/AVError.h>

#include <utility>

namespace korvel::platform {

AVAssetResourceLoaderDelegate::~AVAssetResourceLoaderDelegate() = default;

void AVAssetResourceLoader::setDelegate(std::weak_ptr<AVAssetResourceLoaderDelegate> delegate,
                                        std::shared_ptr<DispatchQueue> queue) {
    const std::lock_guard lock(mutex_);
    delegate_ = std::move(delegate);
    queue_ = std::move(queue);
}

std::shared_ptr<AVAssetResourceLoaderDelegate> AVAssetResourceLoader::delegate() const {
    const std::lock_guard lock(mutex_);
    return delegate_.lock();
}

std::shared_ptr<DispatchQueue> AVAssetResourceLoader::delegateQueue() const {
    const std::lock_guard lock(mutex_);
    return queue_;
}

void AVAssetResourceLoader::setContentKeySystem(std::shared_ptr<const ContentKeySystem> keySystem) {
    const std::lock_guard lock(mutex_);
    keySystem_ = std::move(keySystem);
}

std::shared_ptr<const SampleCipher> AVAssetResourceLoader::sampleCipher(
    SampleCipher::Scheme scheme) const {
    std::shared_ptr<const ContentKeySystem> keySystem;
    {
        const std::lock_guard lock(mutex_);
        keySystem = keySystem_;
    }
    return keySystem ? keySystem->sampleCipher(scheme) : nullptr;
}

std::shared_ptr<AVAssetResourceLoadingRequest> AVAssetResourceLoader::load(
    URLRequest request, AVAssetResourceLoadingRequest::Finished finished) {
    std::shared_ptr<const ContentKeySystem> keySystem;
    std::shared_ptr<DispatchQueue> queue;
    std::weak_ptr<AVAssetResourceLoaderDelegate> asked;
    {
        const std::lock_guard lock(mutex_);
        keySystem = keySystem_;
        queue = queue_;
        asked = delegate_;
    }
    auto loading = std::make_shared<AVAssetResourceLoadingRequest>(
        std::move(request), std::move(keySystem), std::move(finished));
    const auto refuse = [](AVAssetResourceLoadingRequest& refused) {
        refused.finishLoading(
            makeAVError(AVError::contentIsNotAuthorized, "Nobody answers the key request."));
    };
    if (!queue || asked.expired()) {
        refuse(*loading);
        return loading;
    }
    queue->async([self = shared_from_this(), asked, loading, refuse] {
        const auto delegate = loading->isCancelled() ? nullptr : asked.lock();
        if (!delegate || !delegate->shouldWaitForLoadingOfRequestedResource(*self, loading)) {
            refuse(*loading);
        }
    });
    return loading;
}

}  // namespace korvel::platform
