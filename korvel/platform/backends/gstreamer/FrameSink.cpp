#include <korvel/platform/backends/gstreamer/FrameSink.h>
#include <korvel/platform/backends/gstreamer/HandOver.h>

#include <gst/app/gstappsink.h>
#include <gst/video/video.h>

#include <optional>
#include <utility>

namespace korvel::platform::gst {

using namespace std::chrono_literals;

namespace {

/// A first picture later than that is meant to be late.
constexpr std::chrono::nanoseconds longestLead = 2s;
/// Transport streams round times to a 90,000th of a second: a seek to a picture's own time must not
/// come out just before it.
constexpr std::chrono::nanoseconds slack = 50us;

using Sample = std::unique_ptr<GstSample, decltype(&gst_sample_unref)>;

std::chrono::nanoseconds nanoseconds(guint64 time) {
    return std::chrono::nanoseconds(GST_CLOCK_TIME_IS_VALID(time) ? static_cast<std::int64_t>(time)
                                                                  : 0);
}

struct Mapping {
    Mapping(const GstVideoInfo& info, Sample sample) : sample_(std::move(sample)) {
        mapped_ = gst_video_frame_map(&frame_, &info, gst_sample_get_buffer(sample_.get()),
                                      GST_MAP_READ) != FALSE;
    }
    ~Mapping() {
        if (mapped_) gst_video_frame_unmap(&frame_);
    }
    Mapping(const Mapping&) = delete;
    Mapping& operator=(const Mapping&) = delete;

    const GstVideoFrame* frame() const { return mapped_ ? &frame_ : nullptr; }

private:
    Sample sample_;
    GstVideoFrame frame_{};
    bool mapped_ = false;
};

VideoFrame::Matrix matrixOf(const GstVideoInfo& info) {
    switch (GST_VIDEO_INFO_COLORIMETRY(&info).matrix) {
        case GST_VIDEO_COLOR_MATRIX_BT709:
            return VideoFrame::Matrix::bt709;
        case GST_VIDEO_COLOR_MATRIX_BT2020:
            return VideoFrame::Matrix::bt2020;
        default:
            return VideoFrame::Matrix::bt601;
    }
}

std::chrono::nanoseconds timeOf(GstSample* sample) {
    return nanoseconds(gst_segment_to_stream_time(gst_sample_get_segment(sample), GST_FORMAT_TIME,
                                                  GST_BUFFER_PTS(gst_sample_get_buffer(sample))));
}

std::chrono::nanoseconds endOf(GstSample* sample) {
    return timeOf(sample) + nanoseconds(GST_BUFFER_DURATION(gst_sample_get_buffer(sample)));
}

Sample sampleOf(GstPad* pad, GstBuffer* buffer) {
    GstCaps* caps = gst_pad_get_current_caps(pad);
    GstEvent* event = gst_pad_get_sticky_event(pad, GST_EVENT_SEGMENT, 0);
    const GstSegment* segment = nullptr;
    if (event) gst_event_parse_segment(event, &segment);
    Sample sample(gst_sample_new(buffer, caps, segment, nullptr), gst_sample_unref);
    if (event) gst_event_unref(event);
    if (caps) gst_caps_unref(caps);
    return sample;
}

/// The decoder's own memory, not copied; null if it cannot be read.
std::shared_ptr<VideoFrame> frameOf(Sample sample) {
    GstVideoInfo info;
    const auto time = timeOf(sample.get());
    if (!gst_video_info_from_caps(&info, gst_sample_get_caps(sample.get()))) return nullptr;
    auto mapping = std::make_shared<Mapping>(info, std::move(sample));
    const GstVideoFrame* mapped = mapping->frame();
    if (!mapped) return nullptr;

    auto frame = std::make_shared<VideoFrame>();
    frame->width = static_cast<std::uint32_t>(GST_VIDEO_INFO_WIDTH(&info));
    frame->height = static_cast<std::uint32_t>(GST_VIDEO_INFO_HEIGHT(&info));
    frame->pixelAspect =
        static_cast<double>(GST_VIDEO_INFO_PAR_N(&info)) / GST_VIDEO_INFO_PAR_D(&info);
    frame->matrix = matrixOf(info);
    frame->fullRange = GST_VIDEO_INFO_COLORIMETRY(&info).range == GST_VIDEO_COLOR_RANGE_0_255;
    frame->time = time;
    for (std::size_t i = 0; i < frame->planes.size(); ++i) {
        frame->planes.at(i) = {static_cast<const std::uint8_t*>(mapped->data[i]),
                               static_cast<std::size_t>(mapped->info.stride[i])};
    }
    frame->pixels = std::move(mapping);
    return frame;
}

}  // namespace

struct FrameSink::State {
    Listener listener;
    mutable std::mutex mutex;
    std::uint64_t count = 0;
    bool keeps = false;
    std::shared_ptr<const VideoFrame> newest;
    std::optional<std::chrono::nanoseconds> origin;
    // In the pipeline's time. The latter counts once what came before the seek has been flushed.
    std::optional<std::chrono::nanoseconds> first;
    std::optional<std::chrono::nanoseconds> nextFirst;
    Sample lastSkipped{nullptr, gst_sample_unref};  ///< streaming thread

    void take(GstSample* sample);
    void flushed();
    bool skips(GstPad* pad, GstBuffer* buffer);
    GstPadProbeReturn see(GstPad* pad, GstPadProbeInfo* info);
};

void FrameSink::State::take(GstSample* sample) {
    if (!sample) return;  // flushed in the meantime
    auto frame = frameOf(Sample(sample, gst_sample_unref));
    if (!frame) return;
    std::shared_ptr<const VideoFrame> former;  // released after the lock
    {
        const std::lock_guard lock(mutex);
        if (keeps) return;
        if (!origin) origin = (frame->time > longestLead ? 0ns : frame->time) + slack;
        frame->time -= *origin;
        former = std::exchange(newest, std::move(frame));
    }
    listener.frameChanged();
}

void FrameSink::State::flushed() {
    {
        const std::lock_guard lock(mutex);
        first = std::exchange(nextFirst, std::nullopt);
        if (first) keeps = false;
    }
    lastSkipped.reset();
    listener.flushed();
}

bool FrameSink::State::skips(GstPad* pad, GstBuffer* buffer) {
    const std::lock_guard lock(mutex);
    ++count;
    if (!first) return false;
    auto sample = sampleOf(pad, buffer);
    const bool early = endOf(sample.get()) <= *first;
    lastSkipped = early ? std::move(sample) : Sample(nullptr, gst_sample_unref);
    if (!early) first.reset();
    return early;
}

GstPadProbeReturn FrameSink::State::see(GstPad* pad, GstPadProbeInfo* info) {
    if ((info->type & GST_PAD_PROBE_TYPE_BUFFER) != 0) {
        return skips(pad, GST_PAD_PROBE_INFO_BUFFER(info)) ? GST_PAD_PROBE_DROP : GST_PAD_PROBE_OK;
    }
    switch (GST_EVENT_TYPE(GST_PAD_PROBE_INFO_EVENT(info))) {
        case GST_EVENT_FLUSH_STOP:
            flushed();
            break;
        case GST_EVENT_EOS:  // the last one is what there is to show
            take(lastSkipped.release());
            break;
        default:
            break;
    }
    return GST_PAD_PROBE_OK;
}

FrameSink::FrameSink(Listener listener)
    : state_(std::make_shared<State>()),
      element_(GST_ELEMENT(gst_object_ref_sink(gst_element_factory_make("appsink", nullptr)))) {
    state_->listener = std::move(listener);
    GstCaps* caps = gst_caps_new_simple("video/x-raw", "format", G_TYPE_STRING, "I420", nullptr);
    g_object_set(element(), "caps", caps, "max-buffers", 2U, "drop", TRUE, "sync", TRUE, "qos",
                 TRUE, "enable-last-sample", FALSE, nullptr);
    gst_caps_unref(caps);

    using Shared = std::shared_ptr<State>;
    const auto share = [this] {
        auto* shared = new Shared(state_);
        const HandOver first(shared);
        return shared;
    };
    const auto release = [](gpointer shared) {
        { const HandOver last(shared); }
        delete static_cast<Shared*>(shared);
    };
    GstAppSinkCallbacks callbacks{};
    callbacks.new_preroll = [](GstAppSink* sink, gpointer shared) {
        const HandOver handOver(shared);
        (*static_cast<Shared*>(shared))->take(gst_app_sink_pull_preroll(sink));
        return GST_FLOW_OK;
    };
    callbacks.new_sample = [](GstAppSink* sink, gpointer shared) {
        const HandOver handOver(shared);
        (*static_cast<Shared*>(shared))->take(gst_app_sink_pull_sample(sink));
        return GST_FLOW_OK;
    };
    gst_app_sink_set_callbacks(GST_APP_SINK(element()), &callbacks, share(), release);

    const Ref<GstPad> pad(gst_element_get_static_pad(element(), "sink"));
    gst_pad_add_probe(
        pad.get(),
        static_cast<GstPadProbeType>(GST_PAD_PROBE_TYPE_BUFFER | GST_PAD_PROBE_TYPE_EVENT_FLUSH |
                                     GST_PAD_PROBE_TYPE_EVENT_DOWNSTREAM),
        [](GstPad* sink, GstPadProbeInfo* info, gpointer shared) {
            const HandOver handOver(shared);
            return (*static_cast<Shared*>(shared))->see(sink, info);
        },
        share(), release);
}

void FrameSink::showFrom(std::chrono::nanoseconds time) {
    const std::lock_guard lock(state_->mutex);
    state_->nextFirst = time + state_->origin.value_or(std::chrono::nanoseconds::zero());
}

void FrameSink::keepPicture() {
    const std::lock_guard lock(state_->mutex);
    state_->keeps = true;
    state_->first.reset();
    state_->nextFirst.reset();
}

std::chrono::nanoseconds FrameSink::origin() const {
    const std::lock_guard lock(state_->mutex);
    return state_->origin.value_or(std::chrono::nanoseconds::zero());
}

std::uint64_t FrameSink::count() const {
    const std::lock_guard lock(state_->mutex);
    return state_->count;
}

std::shared_ptr<const VideoFrame> FrameSink::newest() const {
    const std::lock_guard lock(state_->mutex);
    return state_->newest;
}

}  // namespace korvel::platform::gst
