#include <korvel/platform/avfoundation/MediaEngine.h>

namespace korvel::platform {

MediaPlayback::~MediaPlayback() = default;
MediaEngine::~MediaEngine() = default;

AVMediaSelectionGroup MediaPlayback::subtitles() { return {}; }
void MediaPlayback::selectSubtitles(const AVSubtitleSelection&) {}
std::vector<AVSubtitleCue> MediaPlayback::cues(std::chrono::nanoseconds) { return {}; }

void MediaEngine::prepare(const std::optional<URL>&) {}

}  // namespace korvel::platform
