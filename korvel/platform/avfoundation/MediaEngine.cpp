#include <korvel/platform/avfoundation/MediaEngine.h>

namespace korvel::platform {

MediaPlayback::~MediaPlayback() = default;
MediaEngine::~MediaEngine() = default;

}  // namespace korvel::platform
