#include <korvel/platform/avfoundation/AVError.h>
#include <korvel/platform/backends/gstreamer/ErrorTranslation.h>
#include <korvel/platform/backends/gstreamer/HandOver.h>
#include <korvel/platform/backends/gstreamer/Pipeline.h>
#include <korvel/platform/foundation/DispatchQueue.h>

#include <algorithm>
#include <utility>

namespace korvel::platform::gst {

using std::chrono::nanoseconds;

namespace {

using Weak = std::weak_ptr<Pipeline>;

}  // namespace

std::shared_ptr<Pipeline> Pipeline::make(std::shared_ptr<MediaEvents> events,
                                         const std::string& audioSink) {
    auto pipeline = std::make_shared<Pipeline>(std::move(events), audioSink);
    pipeline->listen();
    return pipeline;
}

Pipeline::Pipeline(std::shared_ptr<MediaEvents> events, std::string audioSink)
    : events_(std::move(events)),
      audioSink_(std::move(audioSink)),
      element_(GST_ELEMENT(gst_object_ref_sink(gst_pipeline_new(nullptr)))) {}

Pipeline::~Pipeline() = default;

void Pipeline::listen() {
    const Ref<GstBus> bus(gst_element_get_bus(element()));
    auto* weak = new Weak(weak_from_this());
    const HandOver first(weak);
    gst_bus_set_sync_handler(
        bus.get(),
        [](GstBus*, GstMessage* message, gpointer given) {
            const HandOver handOver(given);
            if (const auto self = static_cast<Weak*>(given)->lock()) self->heard(message);
            gst_message_unref(message);
            return GST_BUS_DROP;
        },
        weak,
        [](gpointer given) {
            { const HandOver last(given); }
            delete static_cast<Weak*>(given);
        });
}

Ref<GstPad> Pipeline::pictureInlet() {
    const std::lock_guard lock(sinks_);
    if (!frames_) {
        frames_ =
            std::make_unique<FrameSink>(bin(), [events = events_] { events->frameChanged(); });
    }
    return frames_->inlet();
}

Ref<GstPad> Pipeline::soundInlet() {
    const std::lock_guard lock(sinks_);
    if (!sound_) {
        sound_ = std::make_unique<SoundSink>(bin(), audioSink_);
        sound_->setVolume(volume_);
    }
    return sound_->inlet();
}

void Pipeline::onHelper(std::function<void(Pipeline&)> work) {
    DispatchQueue::global().async([self = shared_from_this(), work = std::move(work)] {
        if (!self->closed_) work(*self);
    });
}

// MARK: commands

void Pipeline::start() {
    const std::lock_guard lock(life_);
    started_ = true;
    apply();
}

void Pipeline::apply() {
    if (closed_ || !started_) return;
    gst_element_set_state(element(), playing_ ? GST_STATE_PLAYING : GST_STATE_PAUSED);
}

void Pipeline::close() {
    const std::lock_guard lock(life_);
    if (closed_.exchange(true)) return;
    gst_element_set_state(element(), GST_STATE_NULL);
    const Ref<GstBus> bus(gst_element_get_bus(element()));
    gst_bus_set_sync_handler(bus.get(), nullptr, nullptr, nullptr);
    gst_bus_set_flushing(bus.get(), TRUE);
}

void Pipeline::setPlaying(bool playing) {
    const std::lock_guard lock(life_);
    if (std::exchange(playing_, playing) != playing) apply();
}

void Pipeline::setVolume(double volume) {
    const std::lock_guard lock(sinks_);
    volume_ = volume;
    if (sound_) sound_->setVolume(volume);
}

/// The sound device that gave the time has gone: pausing and going on finds another clock.
void Pipeline::chooseClock() {
    const std::lock_guard lock(life_);
    if (closed_ || !playing_) return;
    gst_element_set_state(element(), GST_STATE_PAUSED);
    gst_element_set_state(element(), GST_STATE_PLAYING);
}

void Pipeline::beginFlush(nanoseconds to) {
    const std::lock_guard lock(flushing_);
    isFlushed_ = false;
    shows_ = false;
    awaited_ = watched_;
    from_ = to.count();
}

void Pipeline::flushed() {
    const std::lock_guard lock(flushing_);
    isFlushed_ = true;
}

void Pipeline::watchFlushes(GstPad* inlet) {
    {
        const std::lock_guard lock(flushing_);
        watched_.push_back(inlet);
    }
    gst_pad_add_probe(
        inlet, GST_PAD_PROBE_TYPE_EVENT_FLUSH,
        [](GstPad* pad, GstPadProbeInfo* info, gpointer given) {
            static_cast<Pipeline*>(given)->inletFlushes(pad, GST_PAD_PROBE_INFO_EVENT(info));
            return GST_PAD_PROBE_OK;
        },
        this, nullptr);
}

/// Flushes begin in all branches before they end in one. One has ended where the thread that
/// brought the branch's samples is gone, and with it whatever it was telling of the sink.
void Pipeline::inletFlushes(GstPad* inlet, GstEvent* event) {
    if (GST_EVENT_TYPE(event) == GST_EVENT_FLUSH_START) {
        // What sinks lose amid the pipeline's own step to playing it does not notice, and then
        // tells nobody that they have prerolled again: they lose it here, the step held up.
        const Ref<GstElement> first(gst_pad_get_parent_element(inlet));
        const Ref<GstPad> out(gst_element_get_static_pad(first.get(), "src"));
        const StateLock lock(element());
        gst_pad_push_event(out.get(), gst_event_ref(event));
        return;
    }
    const std::lock_guard lock(flushing_);
    std::erase(awaited_, inlet);
    if (awaited_.empty()) isFlushed_ = true;
}

void Pipeline::abandonFlush() {
    const std::lock_guard lock(flushing_);
    isFlushed_ = true;
    shows_ = ready_.load();
}

nanoseconds Pipeline::time() const {
    const nanoseconds from(from_.load());
    if (!shows_) return from;
    const std::lock_guard lock(sinks_);
    GstElement* sink = frames_ ? frames_->element() : sound_ ? sound_->element() : nullptr;
    gint64 time = 0;
    if (!sink || !gst_element_query_position(sink, GST_FORMAT_TIME, &time)) return from;
    return std::max(nanoseconds(time), from);
}

std::optional<nanoseconds> Pipeline::runningTime() const {
    if (!shows_) return std::nullopt;
    GST_OBJECT_LOCK(element());
    const bool runs = GST_STATE(element()) == GST_STATE_PLAYING;
    const auto base = static_cast<GstClockTime>(GST_ELEMENT_CAST(element())->base_time);
    const auto paused = GST_ELEMENT_START_TIME(element());
    GST_OBJECT_UNLOCK(element());
    if (!runs) return nanoseconds(GST_CLOCK_TIME_IS_VALID(paused) ? paused : 0);
    const Ref<GstClock> clock(gst_element_get_clock(element()));
    const GstClockTime now = clock ? gst_clock_get_time(clock.get()) : base;
    return nanoseconds(now > base ? now - base : 0);
}

std::shared_ptr<const VideoFrame> Pipeline::newestFrame() const {
    const std::lock_guard lock(sinks_);
    return frames_ ? frames_->newest() : nullptr;
}

// MARK: messages

void Pipeline::heard(GstMessage* message) {
    const bool own = GST_MESSAGE_SRC(message) == GST_OBJECT(element());
    switch (GST_MESSAGE_TYPE(message)) {
        case GST_MESSAGE_ERROR:
            return stumbled(message);
        case GST_MESSAGE_ASYNC_DONE:
            if (own) prerolled();
            return;
        case GST_MESSAGE_BUFFERING:
            if (listener_.buffering) {
                gint percent = 0;
                gst_message_parse_buffering(message, &percent);
                listener_.buffering(percent);
            }
            return;
        case GST_MESSAGE_EOS:
            if (isFlushed_) events_->playedToEnd();
            return;
        case GST_MESSAGE_LATENCY:
            return onHelper([](Pipeline& self) { gst_bin_recalculate_latency(self.bin()); });
        case GST_MESSAGE_CLOCK_LOST:
            return onHelper([](Pipeline& self) { self.chooseClock(); });
        default:
            return;
    }
}

void Pipeline::prerolled() {
    const std::lock_guard lock(flushing_);
    if (!isFlushed_) return;  // of what is being thrown away
    if (shows_.exchange(true)) return;
    listener_.prerolled(!ready_.exchange(true));
}

/// Elements go on after an error, some of them in a circle: the first one ends it.
void Pipeline::stumbled(GstMessage* message) {
    if (failed_.exchange(true)) return;
    onHelper([error = errorOf(message)](Pipeline& self) { self.listener_.failed(error); });
}

}  // namespace korvel::platform::gst
