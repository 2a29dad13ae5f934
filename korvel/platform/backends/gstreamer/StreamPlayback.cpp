#include <korvel/platform/avfoundation/AVError.h>
#include <korvel/platform/backends/gstreamer/StreamPlayback.h>
#include <korvel/platform/foundation/DispatchQueue.h>

#include <algorithm>
#include <atomic>
#include <utility>

namespace korvel::platform::gst {

using std::chrono::nanoseconds;

/// What the playback shares with the threads that tell of it.
class StreamPlayback::Course final : public std::enable_shared_from_this<Course> {
public:
    Course(const Parts& parts, std::function<void()> isNoPlaylist)
        : events(parts.events),
          pipeline(Pipeline::make(parts.events, parts.audioSink)),
          isNoPlaylist_(std::move(isNoPlaylist)) {}

    void open(const URL& url, const Parts& parts);
    void close();
    void seek(nanoseconds to);

    void failed(const NSError& error);

    const std::shared_ptr<MediaEvents> events;
    const std::shared_ptr<Pipeline> pipeline;
    std::shared_ptr<StreamOutput> output;
    std::shared_ptr<hls::Presentation> presentation;

private:
    void prerolled(bool isReady);
    void fail(const NSError& error);

    const std::function<void()> isNoPlaylist_;
    std::atomic<bool> seeking_ = false;
    std::atomic<bool> failed_ = false;
};

/// What the presentation tells, for as long as somebody listens.
class StreamPlayback::Ear final : public hls::PresentationEvents {
public:
    explicit Ear(const std::shared_ptr<Course>& course)
        : events_(course->events), course_(course) {}
    void took(MediaStep step) override { events_->took(step); }
    void buffered(bool enough) override { events_->buffered(enough); }
    void loadedChanged() override { events_->loadedChanged(); }
    void durationChanged() override { events_->durationChanged(); }
    void cuesChanged() override { events_->cuesChanged(); }
    void failed(NSError error) override {
        if (const auto course = course_.lock()) course->failed(error);
    }

private:
    const std::shared_ptr<MediaEvents> events_;
    const std::weak_ptr<Course> course_;
};

void StreamPlayback::Course::open(const URL& url, const Parts& parts) {
    const std::weak_ptr<Course> weak = weak_from_this();
    pipeline->setListener({.prerolled =
                               [weak](bool isReady) {
                                   if (const auto self = weak.lock()) self->prerolled(isReady);
                               },
                           .failed =
                               [weak](const NSError& error) {
                                   if (const auto self = weak.lock()) self->fail(error);
                               }});
    output = std::make_shared<StreamOutput>(pipeline, [weak](const NSError& error) {
        if (const auto self = weak.lock()) self->fail(error);
    });
    output->attach([&] {
        return presentation = hls::Presentation::open(
                   url, {.loader = parts.loader,
                         .keys = parts.keys,
                         .output = output,
                         .events = std::make_shared<Ear>(shared_from_this()),
                         .languages = parts.languages,
                         .line = parts.line});
    });
}

/// At once. Whoever calls it is none of those who tell.
void StreamPlayback::Course::close() {
    if (const auto opened = output->presentation()) opened->close();
    output->close();
    pipeline->close();
}

void StreamPlayback::Course::prerolled(bool isReady) {
    if (isReady) return events->ready();
    if (seeking_.exchange(false)) events->seekEnded();
}

void StreamPlayback::Course::seek(nanoseconds to) {
    if (failed_) return;
    seeking_ = true;
    const auto end = presentation->duration();
    // At its very end a stream has nothing to show.
    if (end) to = std::min(to, std::max(*end - std::chrono::milliseconds(1), nanoseconds::zero()));
    presentation->seek(to);
}

void StreamPlayback::Course::failed(const NSError& error) {
    if (isNoPlaylist_ && error.userInfo.contains("notAPlaylist"))
        return DispatchQueue::global().async(
            [self = shared_from_this()] { self->isNoPlaylist_(); });
    fail(error);
}

void StreamPlayback::Course::fail(const NSError& error) {
    if (failed_.exchange(true)) return;
    events->failed(error);
    DispatchQueue::global().async([self = shared_from_this()] { self->close(); });
}

StreamPlayback::StreamPlayback(const URL& url, const Parts& parts,
                               std::function<void()> isNoPlaylist)
    : course_(std::make_shared<Course>(parts, std::move(isNoPlaylist))) {
    course_->open(url, parts);
}

StreamPlayback::~StreamPlayback() { course_->close(); }

void StreamPlayback::setRate(double rate) {
    if (rate > 0) {
        course_->output->setRate(rate);
        course_->presentation->setRate(rate);
    }
    course_->pipeline->setPlaying(rate > 0);
}

void StreamPlayback::setVolume(double volume) { course_->pipeline->setVolume(volume); }

void StreamPlayback::seek(nanoseconds to) { course_->seek(to); }

std::optional<nanoseconds> StreamPlayback::position() {
    if (!course_->pipeline->isReady() || course_->pipeline->isClosed()) return std::nullopt;
    return course_->pipeline->time();
}

/// Known long before, but to a host a stream begins with its first picture.
std::optional<nanoseconds> StreamPlayback::duration() {
    if (!course_->pipeline->isReady()) return std::nullopt;
    return course_->presentation->duration();
}

std::shared_ptr<const VideoFrame> StreamPlayback::newestFrame() {
    return course_->pipeline->newestFrame();
}

AVMediaSelectionGroup StreamPlayback::sounds() { return course_->presentation->sounds(); }

bool StreamPlayback::selectSound(const AVMediaSelectionOption& option) {
    return course_->presentation->selectSound(option);
}

AVMediaSelectionGroup StreamPlayback::subtitles() { return course_->presentation->subtitles(); }

void StreamPlayback::selectSubtitles(const AVSubtitleSelection& selection) {
    course_->presentation->selectSubtitles(selection);
}

std::vector<AVSubtitleCue> StreamPlayback::cues(nanoseconds from) {
    return course_->presentation->cues(from);
}

std::vector<MediaTimeRange> StreamPlayback::loaded() { return course_->presentation->buffered(); }

std::vector<AVPlayerItemAccessLogEvent> StreamPlayback::accessLog() {
    return course_->presentation->accessLog();
}

std::vector<AVPlayerItemErrorLogEvent> StreamPlayback::errorLog() {
    return course_->presentation->errorLog();
}

}  // namespace korvel::platform::gst
