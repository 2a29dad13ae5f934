#include <korvel/platform/avfoundation/MediaEngine.h>

namespace korvel::platform {

MediaPlayback::~MediaPlayback() = default;
MediaEngine::~MediaEngine() = default;
void MediaEngine::prepare(const std::optional<URL>&) {}

}  // namespace korvel::platform
