#include <korvel/platform/avfoundation/AVError.h>
#include <korvel/platform/backends/gstreamer/ErrorTranslation.h>
#include <korvel/platform/backends/gstreamer/HandOver.h>
#include <korvel/platform/backends/gstreamer/Pipeline.h>
#include <korvel/platform/backends/gstreamer/Playlist.h>
#include <korvel/platform/backends/gstreamer/RoutedSource.h>

#include <algorithm>
#include <utility>

namespace korvel::platform::gst {

using std::chrono::nanoseconds;

namespace {

// GstPlayFlags, which GStreamer keeps to itself.
constexpr unsigned playVideo = 1U << 0U;
constexpr unsigned playAudio = 1U << 1U;
constexpr unsigned playBuffering = 1U << 8U;

/// The default waits for five seconds of stream, which takes long on a slow line.
constexpr gint64 bufferDuration = 1500 * GST_MSECOND;

/// Kilobits a second: the best variant that a usual line carries, from the beginning. Left to
/// itself the demuxer begins with the first and soon changes to a better one, and a seek during
/// that change may never end, above all one to the last segment.
constexpr guint64 usualSpeed = 10'000;
/// The least variant.
constexpr guint64 leastSpeed = 1;

constexpr auto vigilTick = std::chrono::seconds(1);
constexpr int playingPatience = 3;
constexpr int longestLimit = 30;

constexpr auto flushingSeek =
    static_cast<GstSeekFlags>(GST_SEEK_FLAG_FLUSH | GST_SEEK_FLAG_ACCURATE);

using Weak = std::weak_ptr<Pipeline>;

gpointer newWeak(Weak pipeline) {
    auto* weak = new Weak(std::move(pipeline));
    const HandOver first(weak);
    return weak;
}

void releaseWeak(gpointer weak) {
    { const HandOver last(weak); }
    delete static_cast<Weak*>(weak);
}

}  // namespace

std::shared_ptr<Pipeline> Pipeline::open(const URL& url, std::shared_ptr<StreamLoader> loader,
                                         std::shared_ptr<AVAssetResourceLoader> keys,
                                         std::shared_ptr<MediaEvents> events,
                                         const std::string& audioSink) {
    auto pipeline = std::make_shared<Pipeline>(std::move(events));
    pipeline->build(url, audioSink);
    pipeline->lead(std::move(loader), std::move(keys));
    pipeline->listen();
    pipeline->start();
    return pipeline;
}

Pipeline::Pipeline(std::shared_ptr<MediaEvents> events) : events_(std::move(events)) {}

Pipeline::~Pipeline() = default;

void Pipeline::build(const URL& url, const std::string& audioSink) {
    frames_ = std::make_unique<FrameSink>(FrameSink::Listener{
        .frameChanged = [events = events_] { events->frameChanged(); },
        .flushed =
            [weak = weak_from_this()] {
                if (const auto self = weak.lock()) self->flushed_ = true;
            },
    });
    playbin_.reset(GST_ELEMENT(gst_object_ref_sink(gst_element_factory_make("playbin", nullptr))));
    const std::string address = routedAddress(url).value_or(url.absoluteString());
    g_object_set(playbin_.get(), "uri", address.c_str(), "flags",
                 playVideo | playAudio | playBuffering, "video-sink", frames_->element(),
                 "buffer-duration", bufferDuration, "connection-speed", usualSpeed, nullptr);
    if (GstElement* sound = gst_element_factory_make(audioSink.c_str(), nullptr)) {
        if (audioSink == "fakesink") g_object_set(sound, "sync", TRUE, nullptr);
        g_object_set(playbin_.get(), "audio-sink", sound, nullptr);
    }
}

/// Before the pipeline starts: each element that it ever makes inherits the context.
void Pipeline::lead(std::shared_ptr<StreamLoader> loader,
                    std::shared_ptr<AVAssetResourceLoader> keys) {
    route_ = std::make_shared<Route>(std::move(loader), std::move(keys),
                                     [weak = weak_from_this()](const NSError& error) {
                                         if (const auto self = weak.lock()) self->fail(error);
                                     });
    GstContext* context = makeRouteContext(route_);
    gst_element_set_context(playbin_.get(), context);
    gst_context_unref(context);
}

void Pipeline::listen() {
    const Ref<GstBus> bus(gst_element_get_bus(playbin_.get()));
    gst_bus_set_sync_handler(
        bus.get(),
        [](GstBus*, GstMessage* message, gpointer weak) {
            const HandOver handOver(weak);
            if (const auto self = static_cast<Weak*>(weak)->lock()) self->heard(message);
            gst_message_unref(message);
            return GST_BUS_DROP;
        },
        newWeak(weak_from_this()), releaseWeak);
}

void Pipeline::start() {
    if (gst_element_set_state(playbin_.get(), GST_STATE_PAUSED) == GST_STATE_CHANGE_FAILURE)
        fail(makeAVError(AVError::unknown, "The stream cannot be opened."));
}

void Pipeline::onHelper(std::function<void(Pipeline&)> work) {
    DispatchQueue::global().async([self = shared_from_this(), work = std::move(work)] {
        if (!self->closed_) work(*self);
    });
}

// MARK: commands

void Pipeline::close() {
    {
        const std::lock_guard lock(life_);
        closed_ = true;
    }
    gst_element_set_state(playbin_.get(), GST_STATE_NULL);
    const Ref<GstBus> bus(gst_element_get_bus(playbin_.get()));
    gst_bus_set_sync_handler(bus.get(), nullptr, nullptr, nullptr);
    gst_bus_set_flushing(bus.get(), TRUE);
}

void Pipeline::setRate(double rate) {
    if (stopped_) return;
    if (rate > 0 && rate_.exchange(rate) != rate) {
        onHelper([rate](Pipeline& self) { self.changeRate(rate); });
    }
    playing_ = rate > 0;
    if (!reloading_) resume();
    watch();
}

void Pipeline::resume() {
    gst_element_set_state(playbin_.get(), playing_ ? GST_STATE_PLAYING : GST_STATE_PAUSED);
}

/// At once where the elements can, else by going on from here. Not at once where the demuxer may
/// change variants: the new one's elements know nothing of the rate, and fail.
void Pipeline::changeRate(double rate) {
    if (reloading_) return;  // which ends with a seek at the rate of then
    isInstant_ = !adapts_ && gst_element_seek(playbin_.get(), rate, GST_FORMAT_TIME,
                                              GST_SEEK_FLAG_INSTANT_RATE_CHANGE, GST_SEEK_TYPE_NONE,
                                              0, GST_SEEK_TYPE_NONE, 0);
    if (!isInstant_) goOn();
}

void Pipeline::goOn() {
    if (const auto here = position()) jump(*here, rate_);
}

/// Demuxers choose the segment by a time line on which its pictures come later, by the origin:
/// sought at `to` they begin early, but never in the next segment or beyond the end.
bool Pipeline::jump(nanoseconds to, double rate) {
    frames_->showFrom(to);
    from_ = to.count();
    return gst_element_seek(playbin_.get(), rate, GST_FORMAT_TIME, flushingSeek, GST_SEEK_TYPE_SET,
                            within(to), GST_SEEK_TYPE_NONE, 0) != FALSE;
}

/// The line is slower than usual: from now on the demuxer chooses by what it measures.
void Pipeline::adapt() {
    adapts_ = true;
    if (isInstant_.exchange(false)) goOn();
    GstIterator* demuxers =
        gst_bin_iterate_all_by_element_factory_name(GST_BIN(playbin_.get()), "hlsdemux");
    gst_iterator_foreach(
        demuxers,
        [](const GValue* demuxer, gpointer) {
            g_object_set(g_value_get_object(demuxer), "connection-speed", 0U, nullptr);
        },
        nullptr);
    gst_iterator_free(demuxers);
}

/// The sound device that gave the time has gone: pausing and going on finds another clock.
void Pipeline::chooseClock() {
    const std::lock_guard lock(life_);
    if (closed_ || stopped_ || !playing_ || reloading_) return;
    gst_element_set_state(playbin_.get(), GST_STATE_PAUSED);
    gst_element_set_state(playbin_.get(), GST_STATE_PLAYING);
}

void Pipeline::seek(nanoseconds to) {
    if (stopped_) return;
    flushed_ = false;
    seeking_ = true;
    ended_ = false;
    watch();
    onHelper([to](Pipeline& self) { self.go(to); });
}

void Pipeline::go(nanoseconds to) {
    if (jump(to, rate_)) return;
    from_ = 0;
    if (seeking_.exchange(false)) events_->seekEnded();
}

Pipeline::Progress Pipeline::progress() const {
    return {route_->portions(), frames_->count(), position()};
}

bool Pipeline::isDue() const {
    return ready_ && (seeking_ || ((playing_ || buffering_) && !ended_));
}

/// While something has to come, looks whether it does. A seek or a new rate that meets the
/// demuxer's change of variant may throw away what the change waits for, and nothing ever comes.
void Pipeline::watch() {
    if (isDue() && !watching_.exchange(true)) keep({.last = progress()});
}

void Pipeline::keep(Vigil vigil) {
    DispatchQueue::global().asyncAfter(vigilTick, [weak = weak_from_this(), vigil]() mutable {
        const auto self = weak.lock();
        if (!self || self->closed_ || self->stopped_) return;
        if (!self->isDue()) {
            self->watching_ = false;
            return self->watch();  // it may have become due meanwhile
        }
        const auto now = self->progress();
        if (now.pictures != vigil.last.pictures) vigil.limit = 1;
        // Who waits for the line or for a key is not lost.
        const bool idle = now == vigil.last && !self->route_->isWaiting();
        vigil.idleTicks = idle ? vigil.idleTicks + 1 : 0;
        vigil.last = now;
        if (vigil.idleTicks >= vigil.limit * (self->seeking_ ? 1 : playingPatience)) {
            vigil.limit = std::min(2 * vigil.limit, longestLimit);
            vigil.idleTicks = 0;
            self->reload();
        }
        self->keep(vigil);
    });
}

/// Opens the stream once more, and goes on where the last seek went, or from the picture shown.
void Pipeline::reload() {
    const std::lock_guard lock(life_);
    if (closed_ || stopped_) return;
    const auto shown = newestFrame();
    if (!seeking_) from_ = shown ? shown->time.count() : 0;
    reloading_ = true;
    frames_->keepPicture();
    g_object_set(playbin_.get(), "connection-speed", adapts_ ? leastSpeed : usualSpeed, nullptr);
    gst_element_set_state(playbin_.get(), GST_STATE_READY);
    gst_element_set_state(playbin_.get(), GST_STATE_PAUSED);
}

/// Demuxers refuse the very end of a stream, as whatever lies beyond it.
std::int64_t Pipeline::within(nanoseconds time) const {
    const auto known = duration_.load();
    return known < 0 ? time.count()
                     : std::min(time.count(), std::max<std::int64_t>(known - GST_MSECOND, 0));
}

std::optional<nanoseconds> Pipeline::position() const {
    if (!ready_) return std::nullopt;
    gint64 time = 0;
    // The sink answers by itself; the playbin waits while it changes what it is made of.
    const auto ask = [&](GstElement* element) {
        return gst_element_query_position(element, GST_FORMAT_TIME, &time) != FALSE;
    };
    const bool known = frames_->count() > 0 ? ask(frames_->element()) : ask(playbin_.get());
    if (!known) return std::nullopt;
    return std::max(nanoseconds(time) - frames_->origin(), nanoseconds(from_));
}

std::optional<nanoseconds> Pipeline::duration() const {
    const auto known = duration_.load();
    return known < 0 ? std::nullopt : std::optional(nanoseconds(known));
}

// MARK: messages

void Pipeline::heard(GstMessage* message) {
    const bool own = GST_MESSAGE_SRC(message) == GST_OBJECT(playbin_.get());
    switch (GST_MESSAGE_TYPE(message)) {
        case GST_MESSAGE_ERROR:
            return stumbled(message);
        case GST_MESSAGE_ASYNC_DONE:
            if (own) prerolled();
            return;
        case GST_MESSAGE_BUFFERING:
            return buffering(message);
        case GST_MESSAGE_DURATION_CHANGED:
            if (!ready_) return;
            return onHelper([](Pipeline& self) { self.readDuration(); });
        case GST_MESSAGE_EOS:
            ended_ = true;
            return events_->playedToEnd();
        case GST_MESSAGE_LATENCY:
            return onHelper(
                [](Pipeline& self) { gst_bin_recalculate_latency(GST_BIN(self.playbin_.get())); });
        case GST_MESSAGE_CLOCK_LOST:
            return onHelper([](Pipeline& self) { self.chooseClock(); });
        default:
            return;
    }
}

void Pipeline::prerolled() {
    if (reloading_.exchange(false)) {
        flushed_ = false;
        onHelper([](Pipeline& self) {
            self.go(nanoseconds(self.from_));
            const std::lock_guard lock(self.life_);
            if (!self.closed_ && !self.stopped_) self.resume();
        });
    } else if (!ready_.exchange(true)) {
        onHelper([](Pipeline& self) {
            self.readDuration();
            if (!self.buffering_) self.events_->buffered(true);
            self.events_->ready();
        });
    } else if (flushed_.exchange(false)) {
        if (adapts_) onHelper([](Pipeline& self) { self.adapt(); });  // a new demuxer does not yet
        if (seeking_.exchange(false)) events_->seekEnded();
    }
}

void Pipeline::buffering(GstMessage* message) {
    gint percent = 0;
    gst_message_parse_buffering(message, &percent);
    const bool isDry = percent < 100 && !buffering_ && ready_ && !seeking_;
    buffering_ = percent < 100;
    if (isDry) onHelper([](Pipeline& self) { self.adapt(); });
    if (isDue() && !watching_) onHelper([](Pipeline& self) { self.watch(); });
    events_->buffered(percent >= 100);
}

void Pipeline::readDuration() {
    gint64 time = 0;
    if (!gst_element_query_duration(playbin_.get(), GST_FORMAT_TIME, &time)) return;
    if (duration_.exchange(time) != time) events_->durationChanged();
}

/// Demuxers go on after an error, some of them in a circle: the first one ends it.
void Pipeline::stumbled(GstMessage* message) {
    if (stopped_.exchange(true)) return;
    NSError error = errorOf(message);
    if (const auto cause = route_->lastTrouble()) error.userInfo["cause"] = cause->description();
    onHelper([error](Pipeline& self) {
        gst_element_set_state(self.playbin_.get(), GST_STATE_NULL);
        self.fail(error);
    });
}

void Pipeline::fail(const NSError& error) {
    if (failed_.exchange(true)) return;
    events_->failed(error);
    if (stopped_.exchange(true)) return;
    onHelper([](Pipeline& self) { gst_element_set_state(self.playbin_.get(), GST_STATE_NULL); });
}

}  // namespace korvel::platform::gst
