#include <korvel/platform/avfoundation/AVError.h>
#include <korvel/platform/backends/gstreamer/FilePlayback.h>
#include <korvel/platform/backends/gstreamer/HandOver.h>
#include <korvel/platform/backends/gstreamer/LoaderSource.h>
#include <korvel/platform/backends/gstreamer/Registry.h>
#include <korvel/platform/foundation/DispatchQueue.h>

#include <algorithm>
#include <atomic>
#include <mutex>
#include <string_view>
#include <utility>

namespace korvel::platform::gst {

using std::chrono::nanoseconds;

namespace {

/// What is opened, by what. Nothing else is: a file must not choose what is loaded.
const char* demuxerOf(std::string_view type) {
    constexpr std::pair<std::string_view, const char*> known[] = {
        {"video/quicktime", "qtdemux"},       {"audio/x-m4a", "qtdemux"},
        {"application/x-3gp", "qtdemux"},     {"video/webm", "matroskademux"},
        {"audio/webm", "matroskademux"},      {"video/x-matroska", "matroskademux"},
        {"audio/x-matroska", "matroskademux"}};
    for (const auto& [name, factory] : known) {
        if (name == type) return factory;
    }
    return nullptr;
}

constexpr guint64 queuedTime = 8 * GST_SECOND;
constexpr guint queuedBytes = 64U << 20U;
/// Of the queues' time: a second suffices to begin.
constexpr double enoughQueued = 0.125;

}  // namespace

/// What the playback shares with its pipeline's threads.
class FilePlayback::Course final : public std::enable_shared_from_this<Course> {
public:
    Course(const URL& url, const StreamPlayback::Parts& parts)
        : events(parts.events),
          pipeline(Pipeline::make(parts.events, parts.audioSink)),
          address_(url.absoluteString()) {}

    void open(const URL& url, const StreamPlayback::Parts& parts);
    void setRate(double rate);
    void seek(nanoseconds to);
    std::vector<MediaTimeRange> loaded() const;
    AVPlayerItemAccessLogEvent access() const;

    const std::shared_ptr<MediaEvents> events;
    const std::shared_ptr<Pipeline> pipeline;
    std::atomic<std::int64_t> duration = -1;

private:
    // The pipeline's threads.
    void recognised(GstCaps* caps);
    void padAdded(GstPad* pad);
    void plug(GstPad* pad, bool isPicture, GstCaps* caps);
    void buffering(int percent);
    void readDuration();
    void prerolled(bool isReady);
    void fail(NSError error);

    void jump(nanoseconds to, bool isSought);

    std::mutex jumping_;  ///< held by whoever jumps
    const std::shared_ptr<Download> download_ = std::make_shared<Download>();
    const std::string address_;
    GstElement* typefind_ = nullptr;
    GstElement* queues_ = nullptr;  ///< both the pipeline's
    std::atomic<bool> isEnough_ = false;
    std::atomic<int> stalls_ = 0;
    std::atomic<bool> hasPicture_ = false;
    std::atomic<bool> hasSound_ = false;
    std::atomic<bool> seeking_ = false;
    std::atomic<bool> failed_ = false;
    std::atomic<double> rate_ = 1;
};

void FilePlayback::Course::open(const URL& url, const StreamPlayback::Parts& parts) {
    const std::weak_ptr<Course> weak = weak_from_this();
    pipeline->setListener({.prerolled =
                               [weak](bool isReady) {
                                   if (const auto self = weak.lock()) self->prerolled(isReady);
                               },
                           .failed =
                               [weak](const NSError& error) {
                                   if (const auto self = weak.lock()) self->fail(error);
                               },
                           .buffering =
                               [weak](int percent) {
                                   if (const auto self = weak.lock()) self->buffering(percent);
                               }});
    const auto source = makeLoaderSource(url, parts.loader, download_);
    typefind_ = gst_element_factory_make("typefind", nullptr);
    queues_ = gst_element_factory_make("multiqueue", nullptr);
    g_object_set(queues_, "max-size-time", queuedTime, "max-size-bytes", queuedBytes,
                 "max-size-buffers", 0U, "use-buffering", TRUE, "high-watermark", enoughQueued,
                 nullptr);
    gst_bin_add_many(pipeline->bin(), source.get(), typefind_, queues_, nullptr);
    gst_element_link(source.get(), typefind_);
    using Weak = std::weak_ptr<Course>;
    g_signal_connect_data(
        typefind_, "have-type", G_CALLBACK(+[](GstElement*, guint, GstCaps* caps, gpointer given) {
            const HandOver handOver(given);
            if (const auto self = static_cast<Weak*>(given)->lock()) self->recognised(caps);
        }),
        new Weak(weak), [](gpointer given, GClosure*) { delete static_cast<Weak*>(given); },
        static_cast<GConnectFlags>(0));
    pipeline->start();
}

void FilePlayback::Course::recognised(GstCaps* caps) {
    events->took(MediaStep::segment);
    const char* type = gst_structure_get_name(gst_caps_get_structure(caps, 0));
    const char* factory = demuxerOf(type);
    GstElement* demuxer = factory ? gst_element_factory_make(factory, nullptr) : nullptr;
    if (!demuxer) {
        return fail(makeAVError(AVError::fileFormatNotRecognized,
                                "Files of " + std::string(type) + " are not played."));
    }
    gst_bin_add(pipeline->bin(), demuxer);
    using Weak = std::weak_ptr<Course>;
    g_signal_connect_data(
        demuxer, "pad-added", G_CALLBACK(+[](GstElement*, GstPad* pad, gpointer given) {
            const HandOver handOver(given);
            if (const auto self = static_cast<Weak*>(given)->lock()) self->padAdded(pad);
        }),
        new Weak(weak_from_this()),
        [](gpointer given, GClosure*) { delete static_cast<Weak*>(given); },
        static_cast<GConnectFlags>(0));
    gst_element_link(typefind_, demuxer);
    gst_element_sync_state_with_parent(demuxer);
}

/// The first track of each kind that can be decoded.
void FilePlayback::Course::padAdded(GstPad* pad) {
    const Caps caps(gst_pad_get_current_caps(pad));
    if (!caps) return;
    const std::string_view type = gst_structure_get_name(gst_caps_get_structure(caps.get(), 0));
    const bool isPicture = type.starts_with("video/");
    if (!isPicture && !type.starts_with("audio/")) return;
    if (isPicture ? hasPicture_ : hasSound_) return;
    plug(pad, isPicture, caps.get());
}

void FilePlayback::Course::plug(GstPad* pad, bool isPicture, GstCaps* caps) {
    auto decoder = makeDecoder(caps);
    if (!decoder) {
        if (isPicture) {
            fail(makeAVError(AVError::decoderNotFound,
                             "There is no decoder for " + taken(gst_caps_to_string(caps)) + "."));
        }
        return;
    }
    (isPicture ? hasPicture_ : hasSound_) = true;
    const auto parser = makeParser(caps);
    const auto inlet = isPicture ? pipeline->pictureInlet() : pipeline->soundInlet();
    pipeline->watchFlushes(inlet.get());
    const Ref<GstPad> in(gst_element_request_pad_simple(queues_, "sink_%u"));
    const Ref<GstPad> out([&] {
        GValue found = G_VALUE_INIT;
        GstIterator* linked = gst_pad_iterate_internal_links(in.get());
        gst_iterator_next(linked, &found);
        auto* each = GST_PAD(g_value_dup_object(&found));
        g_value_unset(&found);
        gst_iterator_free(linked);
        return each;
    }());
    gst_bin_add(pipeline->bin(), decoder.get());
    if (parser) gst_bin_add(pipeline->bin(), parser.get());
    GstElement* head = parser ? parser.get() : decoder.get();
    if (parser) gst_element_link(parser.get(), decoder.get());
    gst_pad_link(Ref<GstPad>(gst_element_get_static_pad(decoder.get(), "src")).get(), inlet.get());
    gst_pad_link(out.get(), Ref<GstPad>(gst_element_get_static_pad(head, "sink")).get());
    gst_bin_sync_children_states(pipeline->bin());
    gst_pad_link(pad, in.get());
}

void FilePlayback::Course::buffering(int percent) {
    const bool isEnough = percent >= 100;
    if (isEnough_.exchange(isEnough) && !isEnough && !seeking_) ++stalls_;
    events->buffered(isEnough);
    events->loadedChanged();
}

/// As far as the shorter queue reaches.
std::vector<MediaTimeRange> FilePlayback::Course::loaded() const {
    if (!pipeline->isReady() || pipeline->isClosed()) return {};
    std::optional<nanoseconds> least;
    GstIterator* pads = gst_element_iterate_sink_pads(queues_);
    gst_iterator_foreach(
        pads,
        [](const GValue* each, gpointer given) {
            guint64 time = 0;
            g_object_get(g_value_get_object(each), "current-level-time", &time, nullptr);
            auto& found = *static_cast<std::optional<nanoseconds>*>(given);
            const nanoseconds level(static_cast<std::int64_t>(time));
            found = std::min(found.value_or(level), level);
        },
        &least);
    gst_iterator_free(pads);
    const auto from = pipeline->time();
    if (!least || least->count() <= 0) return {};
    return {{from, from + *least}};
}

AVPlayerItemAccessLogEvent FilePlayback::Course::access() const {
    const auto figures = download_->figures();
    AVPlayerItemAccessLogEvent event{.URI = address_};
    event.numberOfBytesTransferred = static_cast<std::int64_t>(figures.bytes);
    event.numberOfMediaRequests = figures.requests;
    event.numberOfStalls = stalls_;
    event.transferDuration = figures.busy;
    if (figures.bytes > 0 && figures.busy.count() > 0) {
        event.observedBitrate = static_cast<double>(figures.bytes) * 8 /
                                std::chrono::duration<double>(figures.busy).count();
    }
    return event;
}

void FilePlayback::Course::readDuration() {
    gint64 time = 0;
    if (!gst_element_query_duration(pipeline->element(), GST_FORMAT_TIME, &time)) return;
    if (duration.exchange(time) != time) events->durationChanged();
}

void FilePlayback::Course::prerolled(bool isReady) {
    if (isReady) {
        pipeline->onHelper([self = shared_from_this()](Pipeline&) {
            self->readDuration();
            self->events->ready();
        });
    } else if (seeking_.exchange(false)) {
        events->seekEnded();
    }
}

void FilePlayback::Course::fail(NSError error) {
    if (failed_.exchange(true)) return;
    if (const auto cause = download_->error()) error = *cause;
    events->failed(error);
    DispatchQueue::global().async([self = shared_from_this()] { self->pipeline->close(); });
}

void FilePlayback::Course::setRate(double rate) {
    if (rate > 0 && rate_.exchange(rate) != rate) {
        pipeline->onHelper([self = shared_from_this()](Pipeline& each) {
            const std::lock_guard lock(self->jumping_);
            self->jump(each.time(), false);
        });
    }
    pipeline->setPlaying(rate > 0);
}

/// The sinks may be prerolling for a change of rate until the flush: what counts as the end of this
/// seek is what follows it, of which the probes at the sinks' inlets tell.
void FilePlayback::Course::jump(nanoseconds to, bool isSought) {
    constexpr auto flags = static_cast<GstSeekFlags>(GST_SEEK_FLAG_FLUSH | GST_SEEK_FLAG_ACCURATE);
    const auto known = duration.load();
    if (known >= 0) {
        to = std::clamp(to, nanoseconds::zero(),
                        nanoseconds(std::max<std::int64_t>(known - GST_MSECOND, 0)));
    }
    pipeline->beginFlush(to);
    if (isSought) seeking_ = true;
    if (gst_element_seek(pipeline->element(), rate_, GST_FORMAT_TIME, flags, GST_SEEK_TYPE_SET,
                         to.count(), GST_SEEK_TYPE_NONE, 0) != FALSE) {
        return;
    }
    pipeline->abandonFlush();
    if (seeking_.exchange(false)) events->seekEnded();
}

void FilePlayback::Course::seek(nanoseconds to) {
    if (failed_) return;
    pipeline->onHelper([self = shared_from_this(), to](Pipeline&) {
        const std::lock_guard lock(self->jumping_);
        self->jump(to, true);
    });
}

FilePlayback::FilePlayback(const URL& url, const StreamPlayback::Parts& parts)
    : course_(std::make_shared<Course>(url, parts)) {
    course_->open(url, parts);
}

FilePlayback::~FilePlayback() { course_->pipeline->close(); }

void FilePlayback::setRate(double rate) { course_->setRate(rate); }

void FilePlayback::setVolume(double volume) { course_->pipeline->setVolume(volume); }

void FilePlayback::seek(nanoseconds to) { course_->seek(to); }

std::optional<nanoseconds> FilePlayback::position() {
    if (!course_->pipeline->isReady() || course_->pipeline->isClosed()) return std::nullopt;
    return course_->pipeline->time();
}

std::optional<nanoseconds> FilePlayback::duration() {
    const auto known = course_->duration.load();
    return known < 0 ? std::nullopt : std::optional(nanoseconds(known));
}

std::shared_ptr<const VideoFrame> FilePlayback::newestFrame() {
    return course_->pipeline->newestFrame();
}

/// Of several sounds in a file the first plays.
AVMediaSelectionGroup FilePlayback::sounds() { return {}; }

bool FilePlayback::selectSound(const AVMediaSelectionOption&) { return false; }

std::vector<MediaTimeRange> FilePlayback::loaded() { return course_->loaded(); }

std::vector<AVPlayerItemAccessLogEvent> FilePlayback::accessLog() { return {course_->access()}; }

std::vector<AVPlayerItemErrorLogEvent> FilePlayback::errorLog() { return {}; }

}  // namespace korvel::platform::gst
