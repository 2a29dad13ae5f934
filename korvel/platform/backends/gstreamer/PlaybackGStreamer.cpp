#include <korvel/platform/backends/gstreamer/FilePlayback.h>
#include <korvel/platform/backends/gstreamer/PlaybackGStreamer.h>

#include <utility>

namespace korvel::platform::gst {

struct PlaybackGStreamer::Choice {
    mutable std::mutex mutex;
    std::shared_ptr<MediaPlayback> playback;  ///< null once closed
    double volume = 1;
    bool closed = false;
};

PlaybackGStreamer::PlaybackGStreamer(const URL& url, StreamPlayback::Parts parts)
    : choice_(std::make_shared<Choice>()) {
    const auto isNoPlaylist = [url, parts, weak = std::weak_ptr(choice_)] {
        const auto choice = weak.lock();
        if (!choice) return;
        std::shared_ptr<MediaPlayback> former;  // ended after the lock
        const std::lock_guard lock(choice->mutex);
        if (choice->closed) return;
        former = std::exchange(choice->playback, std::make_shared<FilePlayback>(url, parts));
        choice->playback->setVolume(choice->volume);
    };
    const std::lock_guard lock(choice_->mutex);
    choice_->playback = std::make_shared<StreamPlayback>(url, parts, isNoPlaylist);
}

PlaybackGStreamer::~PlaybackGStreamer() {
    std::shared_ptr<MediaPlayback> former;
    const std::lock_guard lock(choice_->mutex);
    choice_->closed = true;
    former = std::exchange(choice_->playback, nullptr);
}

std::shared_ptr<MediaPlayback> PlaybackGStreamer::chosen() const {
    const std::lock_guard lock(choice_->mutex);
    return choice_->playback;
}

void PlaybackGStreamer::setRate(double rate) { chosen()->setRate(rate); }

void PlaybackGStreamer::setVolume(double volume) {
    const std::lock_guard lock(choice_->mutex);
    choice_->volume = volume;
    choice_->playback->setVolume(volume);
}

void PlaybackGStreamer::seek(std::chrono::nanoseconds to) { chosen()->seek(to); }

std::optional<std::chrono::nanoseconds> PlaybackGStreamer::position() {
    return chosen()->position();
}

std::optional<std::chrono::nanoseconds> PlaybackGStreamer::duration() {
    return chosen()->duration();
}

std::shared_ptr<const VideoFrame> PlaybackGStreamer::newestFrame() {
    return chosen()->newestFrame();
}

AVMediaSelectionGroup PlaybackGStreamer::sounds() { return chosen()->sounds(); }

bool PlaybackGStreamer::selectSound(const AVMediaSelectionOption& option) {
    return chosen()->selectSound(option);
}

AVMediaSelectionGroup PlaybackGStreamer::subtitles() { return chosen()->subtitles(); }

void PlaybackGStreamer::selectSubtitles(const AVSubtitleSelection& selection) {
    chosen()->selectSubtitles(selection);
}

std::vector<AVSubtitleCue> PlaybackGStreamer::cues(std::chrono::nanoseconds from) {
    return chosen()->cues(from);
}

std::vector<MediaTimeRange> PlaybackGStreamer::loaded() { return chosen()->loaded(); }

std::vector<AVPlayerItemAccessLogEvent> PlaybackGStreamer::accessLog() {
    return chosen()->accessLog();
}

std::vector<AVPlayerItemErrorLogEvent> PlaybackGStreamer::errorLog() {
    return chosen()->errorLog();
}

}  // namespace korvel::platform::gst
