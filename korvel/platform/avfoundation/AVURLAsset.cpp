#include <korvel/platform/avfoundation/AVURLAsset.h>

#include <utility>

namespace korvel::platform {

AVURLAsset::AVURLAsset(URL url)
    : url_(std::move(url)), loader_(std::make_shared<AVAssetResourceLoader>()) {}

AVURLAsset::~AVURLAsset() = default;

}  // namespace korvel::platform
