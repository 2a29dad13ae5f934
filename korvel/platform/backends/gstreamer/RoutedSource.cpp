#include <korvel/platform/backends/gstreamer/Delivery.h>
#include <korvel/platform/backends/gstreamer/HandOver.h>
#include <korvel/platform/backends/gstreamer/Handles.h>
#include <korvel/platform/backends/gstreamer/RoutedSource.h>

#include <gst/base/gstpushsrc.h>

#include <utility>

// A source element that playbin and its demuxers make for routed addresses. Streams and keys come
// by way of the playback's route, which the element finds in its context.

namespace korvel::platform::gst {

namespace {

constexpr const char* contextType = "korvel.route";
constexpr const char* contextField = "route";

struct SourceState {
    std::mutex mutex;
    std::string address;
    std::shared_ptr<Route> route;
    std::shared_ptr<Delivery> delivery;
    std::uint64_t offset = 0;
    std::optional<std::uint64_t> size;
    bool flushing = false;
};

struct RoutedSource {
    GstPushSrc parent;
    SourceState* state;
};

struct RoutedSourceClass {
    GstPushSrcClass parent;
};

/// An element's state, for as long as one of its functions runs.
class Use {
public:
    explicit Use(gpointer element)
        : handOver_(element), state_(static_cast<RoutedSource*>(element)->state) {}
    operator SourceState&() const { return *state_; }

private:
    const HandOver handOver_;
    SourceState* const state_;
};

gpointer parentClass() {
    static gpointer peeked = g_type_class_ref(GST_TYPE_PUSH_SRC);
    return peeked;
}

// MARK: the address

const gchar* const* protocols(GType) {
    static const gchar* const schemes[] = {"korvel+http", "korvel+https", "korvel-key", nullptr};
    return schemes;
}

gchar* getAddress(GstURIHandler* handler) {
    const Use use(handler);
    SourceState& state = use;
    const std::lock_guard lock(state.mutex);
    return g_strdup(state.address.c_str());
}

gboolean setAddress(GstURIHandler* handler, const gchar* address, GError**) {
    const Use use(handler);
    SourceState& state = use;
    const std::lock_guard lock(state.mutex);
    state.address = address;
    state.size.reset();
    return TRUE;
}

void initializeHandler(gpointer interface, gpointer) {
    auto* handler = static_cast<GstURIHandlerInterface*>(interface);
    handler->get_type = [](GType) { return GST_URI_SRC; };
    handler->get_protocols = protocols;
    handler->get_uri = getAddress;
    handler->set_uri = setAddress;
}

// MARK: the route, carried by a context

GType routeType() {
    static const GType type = g_boxed_type_register_static(
        "KorvelRoute",
        [](gpointer boxed) -> gpointer {
            { const HandOver given(boxed); }
            auto* copy = new std::shared_ptr<Route>(*static_cast<std::shared_ptr<Route>*>(boxed));
            const HandOver first(copy);
            return copy;
        },
        [](gpointer boxed) {
            { const HandOver last(boxed); }
            delete static_cast<std::shared_ptr<Route>*>(boxed);
        });
    return type;
}

void setContext(GstElement* element, GstContext* context) {
    if (context && gst_context_has_context_type(context, contextType)) {
        std::shared_ptr<Route>* boxed = nullptr;
        gst_structure_get(gst_context_get_structure(context), contextField, routeType(), &boxed,
                          nullptr);
        const std::unique_ptr<std::shared_ptr<Route>> route(boxed);
        const Use use(element);
        SourceState& state = use;
        const std::lock_guard lock(state.mutex);
        state.route = route ? *route : nullptr;
    }
    GST_ELEMENT_CLASS(parentClass())->set_context(element, context);
}

// MARK: delivering

void deliverFrom(SourceState& state, std::uint64_t offset) {
    const std::lock_guard lock(state.mutex);
    state.delivery.reset();
    state.offset = offset;
}

bool hasRoute(SourceState& state) {
    const std::lock_guard lock(state.mutex);
    return state.route != nullptr;
}

gboolean start(GstBaseSrc* source) {
    const Use use(source);
    SourceState& state = use;
    deliverFrom(state, 0);
    if (hasRoute(state)) return TRUE;
    // The demuxer, whose child this is not quite, answers with its own contexts before this
    // returns.
    gst_element_post_message(GST_ELEMENT(source),
                             gst_message_new_need_context(GST_OBJECT(source), contextType));
    if (hasRoute(state)) return TRUE;
    GST_ELEMENT_ERROR(source, RESOURCE, NOT_FOUND, ("Nobody loads this address here."), (nullptr));
    return FALSE;
}

gboolean stop(GstBaseSrc* source) {
    deliverFrom(Use(source), 0);
    return TRUE;
}

gboolean unlock(GstBaseSrc* source) {
    const Use use(source);
    SourceState& state = use;
    const std::lock_guard lock(state.mutex);
    state.flushing = true;
    if (state.delivery) state.delivery->cancel();
    return TRUE;
}

gboolean unlockStop(GstBaseSrc* source) {
    const Use use(source);
    SourceState& state = use;
    const std::lock_guard lock(state.mutex);
    state.flushing = false;
    state.delivery.reset();
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

gboolean query(GstBaseSrc* source, GstQuery* question) {
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
std::shared_ptr<Delivery> currentDelivery(SourceState& state) {
    const std::lock_guard lock(state.mutex);
    if (state.flushing) return nullptr;
    if (!state.delivery) state.delivery = deliver(state.route, state.address, state.offset);
    return state.delivery;
}

GstFlowReturn report(GstPushSrc* source, const Failure& failure) {
    GError* error = g_error_new_literal(
        GST_RESOURCE_ERROR,
        failure.statusCode == 404 ? GST_RESOURCE_ERROR_NOT_FOUND : GST_RESOURCE_ERROR_OPEN_READ,
        failure.error.description().c_str());
    // Demuxers read the status there.
    GstStructure* details = gst_structure_new("details", "http-status-code", G_TYPE_UINT,
                                              static_cast<guint>(failure.statusCode), nullptr);
    gst_element_post_message(GST_ELEMENT(source), gst_message_new_error_with_details(
                                                      GST_OBJECT(source), error, "", details));
    g_error_free(error);
    return GST_FLOW_ERROR;
}

GstFlowReturn create(GstPushSrc* source, GstBuffer** buffer) {
    const Use use(source);
    SourceState& state = use;
    const auto delivery = currentDelivery(state);
    if (!delivery) return GST_FLOW_FLUSHING;
    auto portion = delivery->next();
    {
        const std::lock_guard lock(state.mutex);
        if (state.flushing || state.delivery != delivery) return GST_FLOW_FLUSHING;
        state.size = delivery->size();
        if (const auto* bytes = std::get_if<Data>(&portion)) state.offset += bytes->size();
    }
    if (const auto* failure = std::get_if<Failure>(&portion)) return report(source, *failure);
    if (std::holds_alternative<Cancelled>(portion)) return GST_FLOW_FLUSHING;
    if (std::holds_alternative<EndOfBytes>(portion)) return GST_FLOW_EOS;
    const auto& bytes = std::get<Data>(portion);
    *buffer = gst_buffer_new_memdup(bytes.data(), bytes.size());
    return GST_FLOW_OK;
}

// MARK: the type

void finalize(GObject* object) {
    {
        const HandOver last(object);
        delete static_cast<RoutedSource*>(static_cast<gpointer>(object))->state;
    }
    G_OBJECT_CLASS(parentClass())->finalize(object);
}

void initializeClass(gpointer classPointer, gpointer) {
    static GstStaticPadTemplate pad =
        GST_STATIC_PAD_TEMPLATE("src", GST_PAD_SRC, GST_PAD_ALWAYS, GST_STATIC_CAPS_ANY);
    G_OBJECT_CLASS(classPointer)->finalize = finalize;
    auto* element = GST_ELEMENT_CLASS(classPointer);
    element->set_context = setContext;
    auto* base = GST_BASE_SRC_CLASS(classPointer);
    base->start = start;
    base->stop = stop;
    base->unlock = unlock;
    base->unlock_stop = unlockStop;
    base->is_seekable = [](GstBaseSrc*) -> gboolean { return TRUE; };
    base->do_seek = seek;
    base->get_size = size;
    base->query = query;
    GST_PUSH_SRC_CLASS(classPointer)->create = create;
    gst_element_class_add_static_pad_template(element, &pad);
    gst_element_class_set_static_metadata(element, "Korvel routed source", "Source/Network",
                                          "Loads streams and content keys for a player", "Korvel");
}

void initializeInstance(GTypeInstance* instance, gpointer) {
    const HandOver first(instance);
    static_cast<RoutedSource*>(static_cast<gpointer>(instance))->state = new SourceState;
    gst_base_src_set_format(GST_BASE_SRC(instance), GST_FORMAT_BYTES);
}

GType sourceType() {
    static const GType type = [] {
        const GType made = g_type_register_static_simple(
            GST_TYPE_PUSH_SRC, "KorvelRoutedSource", sizeof(RoutedSourceClass), initializeClass,
            sizeof(RoutedSource), initializeInstance, static_cast<GTypeFlags>(0));
        const GInterfaceInfo handler{initializeHandler, nullptr, nullptr};
        g_type_add_interface_static(made, GST_TYPE_URI_HANDLER, &handler);
        return made;
    }();
    return type;
}

}  // namespace

bool registerRoutedSource() {
    static const bool registered =
        gst_element_register(nullptr, "korvelroutedsrc", GST_RANK_PRIMARY, sourceType()) != FALSE;
    return registered;
}

GstContext* makeRouteContext(std::shared_ptr<Route> route) {
    GstContext* context = gst_context_new(contextType, TRUE);
    gst_structure_set(gst_context_writable_structure(context), contextField, routeType(), &route,
                      nullptr);
    return context;
}

}  // namespace korvel::platform::gst
