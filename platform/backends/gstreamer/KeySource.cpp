#include <korvel/platform/backends/gstreamer/HandOver.h>
#include <korvel/platform/backends/gstreamer/Handles.h>
#include <korvel/platform/backends/gstreamer/KeySource.h>

#include <gst/base/gstpushsrc.h>

#include <algorithm>
#include <atomic>
#include <cctype>
#include <utility>
#include <vector>

// A source element that a demuxer makes for a key's address, as it makes an HTTP source for a
// segment's: it delivers the key's 16 bytes once.

namespace korvel::platform::gst {

namespace {

constexpr const char* contextType = "korvel.key-route";
constexpr const char* contextField = "route";

struct KeySourceState {
    std::mutex mutex;
    std::string address;
    std::shared_ptr<KeyRoute> route;
    std::shared_ptr<KeyWait> wait;  // while a key is asked for
    bool flushing = false;
    bool delivered = false;
};

struct KeySource {
    GstPushSrc parent;
    KeySourceState* state;
};

struct KeySourceClass {
    GstPushSrcClass parent;
};

KeySourceState& stateOf(gpointer element) {
    const HandOver handOver(element);
    return *static_cast<KeySource*>(element)->state;
}

// MARK: schemes. GLib asks a type, not an element, and keeps the list: none is ever freed.

using ProtocolList = std::vector<const gchar*>;  // a null at the end

std::atomic<const ProtocolList*> published = nullptr;

const gchar* const* protocols(GType) {
    static const ProtocolList none{nullptr};
    const auto* list = published.load();
    return (list ? *list : none).data();
}

void publish(const std::string& name) {
    const auto* former = published.load();
    auto list = former ? std::make_unique<ProtocolList>(*former)
                       : std::make_unique<ProtocolList>(1, nullptr);
    list->insert(list->end() - 1, g_intern_string(name.c_str()));
    published = list.get();
    static auto& kept = *new std::vector<std::unique_ptr<const ProtocolList>>;
    kept.push_back(std::move(list));
}

gchar* getAddress(GstURIHandler* handler) {
    KeySourceState& state = stateOf(handler);
    const std::lock_guard lock(state.mutex);
    return g_strdup(state.address.c_str());
}

gboolean setAddress(GstURIHandler* handler, const gchar* address, GError**) {
    KeySourceState& state = stateOf(handler);
    const std::lock_guard lock(state.mutex);
    state.address = address;
    return TRUE;
}

void initializeHandler(gpointer interface, gpointer) {
    auto* handler = static_cast<GstURIHandlerInterface*>(interface);
    handler->get_type = [](GType) { return GST_URI_SRC; };
    handler->get_protocols = protocols;
    handler->get_uri = getAddress;
    handler->set_uri = setAddress;
}

gpointer parentClass() {
    static gpointer peeked = g_type_class_ref(GST_TYPE_PUSH_SRC);
    return peeked;
}

// MARK: the route, carried by a context

GType routeType() {
    static const GType type = g_boxed_type_register_static(
        "KorvelKeyRoute",
        [](gpointer boxed) -> gpointer {
            { const HandOver given(boxed); }
            auto* copy =
                new std::shared_ptr<KeyRoute>(*static_cast<std::shared_ptr<KeyRoute>*>(boxed));
            const HandOver first(copy);
            return copy;
        },
        [](gpointer boxed) {
            { const HandOver last(boxed); }
            delete static_cast<std::shared_ptr<KeyRoute>*>(boxed);
        });
    return type;
}

void setContext(GstElement* element, GstContext* context) {
    if (context && gst_context_has_context_type(context, contextType)) {
        std::shared_ptr<KeyRoute>* boxed = nullptr;
        gst_structure_get(gst_context_get_structure(context), contextField, routeType(), &boxed,
                          nullptr);
        const std::unique_ptr<std::shared_ptr<KeyRoute>> route(boxed);
        KeySourceState& state = stateOf(element);
        const std::lock_guard lock(state.mutex);
        state.route = route ? *route : nullptr;
    }
    GST_ELEMENT_CLASS(parentClass())->set_context(element, context);
}

// MARK: delivering

bool hasRoute(KeySourceState& state) {
    const std::lock_guard lock(state.mutex);
    state.delivered = false;
    return state.route != nullptr;
}

gboolean start(GstBaseSrc* source) {
    KeySourceState& state = stateOf(source);
    if (hasRoute(state)) return TRUE;
    // The demuxer, whose child this is not quite, answers with its own contexts before this
    // returns.
    gst_element_post_message(GST_ELEMENT(source),
                             gst_message_new_need_context(GST_OBJECT(source), contextType));
    if (hasRoute(state)) return TRUE;
    GST_ELEMENT_ERROR(source, RESOURCE, NOT_FOUND, ("Nobody answers key requests here."),
                      (nullptr));
    return FALSE;
}

gboolean unlock(GstBaseSrc* source) {
    KeySourceState& state = stateOf(source);
    const std::lock_guard lock(state.mutex);
    state.flushing = true;
    if (state.wait) state.wait->cancel();
    return TRUE;
}

gboolean unlockStop(GstBaseSrc* source) {
    KeySourceState& state = stateOf(source);
    const std::lock_guard lock(state.mutex);
    state.flushing = false;
    return TRUE;
}

GstFlowReturn create(GstPushSrc* source, GstBuffer** buffer) {
    KeySourceState& state = stateOf(source);
    const auto wait = std::make_shared<KeyWait>();
    std::shared_ptr<KeyRoute> route;
    std::string address;
    {
        const std::lock_guard lock(state.mutex);
        if (state.flushing) return GST_FLOW_FLUSHING;
        if (state.delivered) return GST_FLOW_EOS;
        state.wait = wait;
        route = state.route;
        address = state.address;
    }
    const auto answer = route->ask(address, wait);
    {
        const std::lock_guard lock(state.mutex);
        state.wait.reset();
        state.delivered = answer.has_value();
    }
    if (!answer) return GST_FLOW_FLUSHING;
    const auto* key = std::get_if<ContentKey>(&*answer);
    if (!key) {
        GST_ELEMENT_ERROR(source, RESOURCE, NOT_AUTHORIZED, ("The content key was refused."),
                          (nullptr));
        return GST_FLOW_ERROR;
    }
    *buffer = gst_buffer_new_memdup(key->data(), key->size());
    return GST_FLOW_OK;
}

// MARK: the type

void finalize(GObject* object) {
    { const HandOver last(object); }
    delete static_cast<KeySource*>(static_cast<gpointer>(object))->state;
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
    base->unlock = unlock;
    base->unlock_stop = unlockStop;
    base->is_seekable = [](GstBaseSrc*) -> gboolean { return FALSE; };
    GST_PUSH_SRC_CLASS(classPointer)->create = create;
    gst_element_class_add_static_pad_template(element, &pad);
    gst_element_class_set_static_metadata(element, "Korvel content key source", "Source",
                                          "Asks the application for a content key", "Korvel");
}

void initializeInstance(GTypeInstance* instance, gpointer) {
    const HandOver first(instance);
    static_cast<KeySource*>(static_cast<gpointer>(instance))->state = new KeySourceState;
    gst_base_src_set_format(GST_BASE_SRC(instance), GST_FORMAT_BYTES);
}

GType keySourceType() {
    static const GType type = [] {
        const GType made = g_type_register_static_simple(
            GST_TYPE_PUSH_SRC, "KorvelKeySource", sizeof(KeySourceClass), initializeClass,
            sizeof(KeySource), initializeInstance, static_cast<GTypeFlags>(0));
        const GInterfaceInfo handler{initializeHandler, nullptr, nullptr};
        g_type_add_interface_static(made, GST_TYPE_URI_HANDLER, &handler);
        return made;
    }();
    return type;
}

}  // namespace

bool registerKeyScheme(const std::string& scheme) {
    std::string name = scheme;
    std::transform(name.begin(), name.end(), name.begin(),
                   [](unsigned char letter) { return static_cast<char>(std::tolower(letter)); });
    static std::mutex registration;
    const std::lock_guard lock(registration);
    const auto* known = published.load();
    if (known &&
        std::find(known->begin(), known->end(), g_intern_string(name.c_str())) != known->end())
        return true;
    if (!gst_uri_protocol_is_valid(name.c_str()) ||
        gst_uri_protocol_is_supported(GST_URI_SRC, name.c_str())) {
        return false;
    }
    publish(name);
    // One feature for each scheme: the list of a registered one is never read again.
    return gst_element_register(nullptr, ("korvelkeysrc-" + name).c_str(), GST_RANK_PRIMARY,
                                keySourceType()) != FALSE;
}

GstContext* makeKeyContext(std::shared_ptr<KeyRoute> route) {
    GstContext* context = gst_context_new(contextType, TRUE);
    gst_structure_set(gst_context_writable_structure(context), contextField, routeType(), &route,
                      nullptr);
    return context;
}

}  // namespace korvel::platform::gst
