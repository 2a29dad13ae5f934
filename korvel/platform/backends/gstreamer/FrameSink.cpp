#include <korvel/platform/backends/gstreamer/FrameSink.h>
#include <korvel/platform/backends/gstreamer/HandOver.h>

#include <gst/app/gstappsink.h>
#include <gst/video/video.h>

#include <mutex>
#include <utility>

namespace korvel::platform::gst {

namespace {

using Sample = std::unique_ptr<GstSample, decltype(&gst_sample_unref)>;
using Buffer = std::unique_ptr<GstBuffer, decltype(&gst_buffer_unref)>;

std::chrono::nanoseconds nanoseconds(guint64 time) {
    return std::chrono::nanoseconds(GST_CLOCK_TIME_IS_VALID(time) ? static_cast<std::int64_t>(time)
                                                                  : 0);
}

struct Mapping {
    Mapping(const GstVideoInfo& info, GstBuffer* buffer)
        : buffer_(gst_buffer_ref(buffer), gst_buffer_unref) {
        mapped_ = gst_video_frame_map(&frame_, &info, buffer, GST_MAP_READ) != FALSE;
    }
    ~Mapping() {
        if (mapped_) gst_video_frame_unmap(&frame_);
    }
    Mapping(const Mapping&) = delete;
    Mapping& operator=(const Mapping&) = delete;

    const GstVideoFrame* frame() const { return mapped_ ? &frame_ : nullptr; }

private:
    Buffer buffer_;
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

/// The decoder's own memory, not copied; null if it cannot be read. The sample itself is not kept:
/// the sink has but one, and cannot change it while somebody else holds it.
std::shared_ptr<VideoFrame> frameOf(GstSample* sample, GstCaps* caps) {
    GstVideoInfo info;
    GstBuffer* buffer = gst_sample_get_buffer(sample);
    if (!caps || !buffer || !gst_video_info_from_caps(&info, caps)) return nullptr;
    auto mapping = std::make_shared<Mapping>(info, buffer);
    const GstVideoFrame* mapped = mapping->frame();
    if (!mapped) return nullptr;

    auto frame = std::make_shared<VideoFrame>();
    frame->width = static_cast<std::uint32_t>(GST_VIDEO_INFO_WIDTH(&info));
    frame->height = static_cast<std::uint32_t>(GST_VIDEO_INFO_HEIGHT(&info));
    frame->pixelAspect =
        static_cast<double>(GST_VIDEO_INFO_PAR_N(&info)) / GST_VIDEO_INFO_PAR_D(&info);
    frame->matrix = matrixOf(info);
    frame->fullRange = GST_VIDEO_INFO_COLORIMETRY(&info).range == GST_VIDEO_COLOR_RANGE_0_255;
    frame->time = timeOf(sample);
    for (std::size_t i = 0; i < frame->planes.size(); ++i) {
        frame->planes.at(i) = {static_cast<const std::uint8_t*>(mapped->data[i]),
                               static_cast<std::size_t>(mapped->info.stride[i])};
    }
    frame->pixels = std::move(mapping);
    return frame;
}

}  // namespace

struct FrameSink::State {
    std::function<void()> frameChanged;
    mutable std::mutex mutex;
    std::shared_ptr<const VideoFrame> newest;

    void take(GstAppSink* sink, GstSample* sample);
};

/// On the thread that renders it.
void FrameSink::State::take(GstAppSink* sink, GstSample* sample) {
    if (!sample) return;  // flushed in the meantime
    // The sample's own format is that of before where a flush has overtaken a new one.
    const Caps caps(gst_pad_get_current_caps(GST_BASE_SINK_PAD(sink)));
    const Sample held(sample, gst_sample_unref);
    std::shared_ptr<const VideoFrame> frame = frameOf(sample, caps.get());
    if (!frame) return;
    {
        const std::lock_guard lock(mutex);
        newest.swap(frame);  // the former one is released after the lock
    }
    frameChanged();
}

FrameSink::FrameSink(GstBin* bin, std::function<void()> frameChanged)
    : state_(std::make_shared<State>()),
      convert_(gst_element_factory_make("videoconvert", nullptr)),
      sink_(gst_element_factory_make("appsink", nullptr)) {
    state_->frameChanged = std::move(frameChanged);
    GstCaps* caps = gst_caps_new_simple("video/x-raw", "format", G_TYPE_STRING, "I420", nullptr);
    g_object_set(sink_, "caps", caps, "max-buffers", 2U, "drop", TRUE, "sync", TRUE, "qos", TRUE,
                 "enable-last-sample", FALSE, nullptr);
    gst_caps_unref(caps);
    gst_bin_add_many(bin, convert_, sink_, nullptr);
    gst_element_link(convert_, sink_);

    using Shared = std::shared_ptr<State>;
    auto* shared = new Shared(state_);
    const HandOver first(shared);
    GstAppSinkCallbacks callbacks{};
    callbacks.new_preroll = [](GstAppSink* sink, gpointer given) {
        const HandOver handOver(given);
        (*static_cast<Shared*>(given))->take(sink, gst_app_sink_pull_preroll(sink));
        return GST_FLOW_OK;
    };
    callbacks.new_sample = [](GstAppSink* sink, gpointer given) {
        const HandOver handOver(given);
        (*static_cast<Shared*>(given))->take(sink, gst_app_sink_pull_sample(sink));
        return GST_FLOW_OK;
    };
    gst_app_sink_set_callbacks(GST_APP_SINK(sink_), &callbacks, shared, [](gpointer given) {
        { const HandOver last(given); }
        delete static_cast<Shared*>(given);
    });
}

Ref<GstPad> FrameSink::inlet() const {
    return Ref<GstPad>(gst_element_get_static_pad(convert_, "sink"));
}

std::shared_ptr<const VideoFrame> FrameSink::newest() const {
    const std::lock_guard lock(state_->mutex);
    return state_->newest;
}

}  // namespace korvel::platform::gst
