#include <korvel/platform/avfoundation/AVError.h>
#include <korvel/platform/backends/gstreamer/HandOver.h>
#include <korvel/platform/backends/gstreamer/LoaderSource.h>
#include <korvel/platform/foundation/URLRequest.h>

#include <gst/base/gstpushsrc.h>

#include <algorithm>
#include <utility>
#include <variant>

namespace korvel::platform::gst {

namespace {

constexpr int partialContent = 206;
constexpr int rangeNotSatisfiable = 416;

struct SourceState {
    std::optional<URL> url;
    std::shared_ptr<StreamLoader> loader;
    std::shared_ptr<Download> download;

    std::mutex mutex;  ///< guards the following
    std::shared_ptr<ResponseStream> stream;
    std::uint64_t offset = 0;
    std::optional<std::uint64_t> size;
    bool flushing = false;

    // The element's thread.
    std::uint64_t toSkip = 0;
    bool isOpen = false;  ///< the stream's head has been read
};

struct LoaderSource {
    GstPushSrc parent;
    SourceState* state;
};

struct LoaderSourceClass {
    GstPushSrcClass parent;
};

/// An element's state, for as long as one of its functions runs.
class Use {
public:
    explicit Use(gpointer element)
        : handOver_(element), state_(static_cast<LoaderSource*>(element)->state) {}
    operator SourceState&() const { return *state_; }

private:
    const HandOver handOver_;
    SourceState* const state_;
};

gpointer parentClass() {
    static gpointer peeked = g_type_class_ref(GST_TYPE_PUSH_SRC);
    return peeked;
}

void deliverFrom(SourceState& state, std::uint64_t offset) {
    std::shared_ptr<ResponseStream> former;
    const std::lock_guard lock(state.mutex);
    former = std::exchange(state.stream, nullptr);
    state.offset = offset;
}

gboolean start(GstBaseSrc* source) {
    deliverFrom(Use(source), 0);
    return TRUE;
}

gboolean unlock(GstBaseSrc* source) {
    const Use use(source);
    SourceState& state = use;
    const std::lock_guard lock(state.mutex);
    state.flushing = true;
    if (state.stream) state.stream->cancel();
    return TRUE;
}

gboolean unlockStop(GstBaseSrc* source) {
    const Use use(source);
    SourceState& state = use;
    const std::lock_guard lock(state.mutex);
    state.flushing = false;
    state.stream.reset();
    return TRUE;
}

gboolean seek(GstBaseSrc* source, GstSegment* segment) {
    if (segment->rate < 0) return FALSE;
    deliverFrom(Use(source), segment->start);
    return TRUE;
}

gboolean size(GstBaseSrc* source, guint64* bytes) {
    const Use use(source);
    SourceState& state = use;
    const std::lock_guard lock(state.mutex);
    if (!state.size) return FALSE;
    *bytes = *state.size;
    return TRUE;
}

/// Demuxers must not jump to and fro for each picture, nor ask here for what they alone know.
gboolean query(GstBaseSrc* source, GstQuery* question) {
    if (GST_QUERY_TYPE(question) == GST_QUERY_DURATION) {
        GstFormat format = GST_FORMAT_UNDEFINED;
        gst_query_parse_duration(question, &format, nullptr);
        if (format != GST_FORMAT_BYTES) return FALSE;
    }
    const gboolean answered = GST_BASE_SRC_CLASS(parentClass())->query(source, question);
    if (GST_QUERY_TYPE(question) != GST_QUERY_SCHEDULING) return answered;
    GstSchedulingFlags flags{};
    gint smallest = 0;
    gint largest = 0;
    gint alignment = 0;
    gst_query_parse_scheduling(question, &flags, &smallest, &largest, &alignment);
    flags = static_cast<GstSchedulingFlags>(flags | GST_SCHEDULING_FLAG_SEQUENTIAL |
                                            GST_SCHEDULING_FLAG_BANDWIDTH_LIMITED);
    gst_query_set_scheduling(question, flags, smallest, largest, alignment);
    return answered;
}

/// Null while flushing.
std::shared_ptr<ResponseStream> currentStream(SourceState& state) {
    const std::lock_guard lock(state.mutex);
    if (state.flushing) return nullptr;
    if (!state.stream) {
        URLRequest request(*state.url);
        // Ranges are of what is sent, packed or not.
        request.setValue("identity", "Accept-Encoding");
        if (state.offset > 0)
            request.setValue("bytes=" + std::to_string(state.offset) + "-", "Range");
        state.stream = state.loader->open(std::move(request));
        state.download->asked();
        state.isOpen = false;
        state.toSkip = state.offset;
    }
    return state.stream;
}

struct EndOfBytes {};
using Portion = std::variant<Data, EndOfBytes, NSError>;

std::optional<Portion> open(SourceState& state, ResponseStream& stream) {
    auto head = stream.response();
    if (auto* error = std::get_if<NSError>(&head)) return std::move(*error);
    const auto& response = std::get<HTTPURLResponse>(head);
    if (response.statusCode == rangeNotSatisfiable && state.toSkip > 0) return EndOfBytes{};
    if (response.statusCode < 200 || response.statusCode >= 300) {
        return makeAVError(AVError::unknown, "The service answered " +
                                                 std::to_string(response.statusCode) + " for " +
                                                 response.url.absoluteString());
    }
    const std::uint64_t asked = state.toSkip;
    if (response.statusCode == partialContent) state.toSkip = 0;
    if (const auto length = stream.expectedContentLength()) {
        const std::lock_guard lock(state.mutex);
        state.size = *length + (asked - state.toSkip);
    }
    return std::nullopt;
}

Portion next(SourceState& state, ResponseStream& stream) {
    if (!std::exchange(state.isOpen, true)) {
        if (auto ending = open(state, stream)) return *std::move(ending);
    }
    while (true) {
        auto read = stream.read();
        if (auto* error = std::get_if<NSError>(&read)) return std::move(*error);
        auto& bytes = std::get<Data>(read);
        if (bytes.empty()) return EndOfBytes{};
        // The service takes no notice of ranges.
        const auto skipped = std::min<std::uint64_t>(state.toSkip, bytes.size());
        state.toSkip -= skipped;
        bytes.erase(bytes.begin(), bytes.begin() + static_cast<std::ptrdiff_t>(skipped));
        if (!bytes.empty()) return std::move(bytes);
    }
}

/// The demuxer reads the address in a reference movie up to a zero, also beyond the end of the
/// file.
GstBuffer* paddedBuffer(const Data& bytes) {
    GstAllocationParams params;
    gst_allocation_params_init(&params);
    params.flags = GST_MEMORY_FLAG_ZERO_PADDED;
    params.padding = 16;
    GstBuffer* buffer = gst_buffer_new_allocate(nullptr, bytes.size(), &params);
    gst_buffer_fill(buffer, 0, bytes.data(), bytes.size());
    return buffer;
}

GstFlowReturn create(GstPushSrc* source, GstBuffer** buffer) {
    const Use use(source);
    SourceState& state = use;
    const auto stream = currentStream(state);
    if (!stream) return GST_FLOW_FLUSHING;
    const auto began = std::chrono::steady_clock::now();
    const auto portion = next(state, *stream);
    const auto* bytes = std::get_if<Data>(&portion);
    state.download->came(bytes ? bytes->size() : 0, std::chrono::steady_clock::now() - began);
    {
        const std::lock_guard lock(state.mutex);
        if (state.flushing || state.stream != stream) return GST_FLOW_FLUSHING;
        if (bytes) state.offset += bytes->size();
    }
    if (const auto* error = std::get_if<NSError>(&portion)) {
        state.download->failed(*error);
        GST_ELEMENT_ERROR(source, RESOURCE, READ, ("The stream cannot be loaded."), (nullptr));
        return GST_FLOW_ERROR;
    }
    if (!bytes) return GST_FLOW_EOS;
    *buffer = paddedBuffer(*bytes);
    return GST_FLOW_OK;
}

// MARK: the type

void finalize(GObject* object) {
    {
        const HandOver last(object);
        delete static_cast<LoaderSource*>(static_cast<gpointer>(object))->state;
    }
    G_OBJECT_CLASS(parentClass())->finalize(object);
}

void initializeSourceClass(gpointer classPointer, gpointer) {
    static GstStaticPadTemplate pad =
        GST_STATIC_PAD_TEMPLATE("src", GST_PAD_SRC, GST_PAD_ALWAYS, GST_STATIC_CAPS_ANY);
    G_OBJECT_CLASS(classPointer)->finalize = finalize;
    auto* base = GST_BASE_SRC_CLASS(classPointer);
    base->start = start;
    base->stop = start;
    base->unlock = unlock;
    base->unlock_stop = unlockStop;
    base->is_seekable = [](GstBaseSrc*) -> gboolean { return TRUE; };
    base->do_seek = seek;
    base->get_size = size;
    base->query = query;
    GST_PUSH_SRC_CLASS(classPointer)->create = create;
    auto* element = GST_ELEMENT_CLASS(classPointer);
    gst_element_class_add_static_pad_template(element, &pad);
    gst_element_class_set_static_metadata(element, "Korvel loader source", "Source/Network",
                                          "Loads a file for a player", "Korvel");
}

void initializeInstance(GTypeInstance* instance, gpointer) {
    const HandOver first(instance);
    static_cast<LoaderSource*>(static_cast<gpointer>(instance))->state = new SourceState;
    gst_base_src_set_format(GST_BASE_SRC(instance), GST_FORMAT_BYTES);
}

GType sourceType() {
    static const GType type = g_type_register_static_simple(
        GST_TYPE_PUSH_SRC, "KorvelLoaderSource", sizeof(LoaderSourceClass), initializeSourceClass,
        sizeof(LoaderSource), initializeInstance, static_cast<GTypeFlags>(0));
    return type;
}

}  // namespace

Ref<GstElement> makeLoaderSource(const URL& url, std::shared_ptr<StreamLoader> loader,
                                 std::shared_ptr<Download> download) {
    Ref<GstElement> element(GST_ELEMENT(gst_object_ref_sink(g_object_new(sourceType(), nullptr))));
    const Use use(element.get());
    SourceState& state = use;
    state.url = url;
    state.loader = std::move(loader);
    state.download = std::move(download);
    return element;
}

}  // namespace korvel::platform::gst
