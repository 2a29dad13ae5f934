#include <korvel/platform/avfoundation/AVURLAsset.h>

#include <utility>

namespace korvel::platform {

AVURLAsset::AVURLAsset(URL url) : url_(std::move(url)), loader_(make<AVAssetResourceLoader>()) {}

AVURLAsset::~AVURLAsset() = default;

}  // namespace korvel::platform
