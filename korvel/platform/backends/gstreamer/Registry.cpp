#include <korvel/platform/backends/gstreamer/Registry.h>

#include <functional>
#include <mutex>
#include <utility>
#include <vector>

namespace korvel::platform::gst {

namespace {

struct FreeFactories {
    void operator()(GList* list) const { gst_plugin_feature_list_free(list); }
};
using Factories = std::unique_ptr<GList, FreeFactories>;

/// A parser changes how samples are packed: only what is coded has to fit.
Caps withoutPacking(const GstCaps* caps) {
    GstCaps* bare = gst_caps_copy(caps);
    for (const char* field : {"stream-format", "alignment", "codec_data", "parsed", "framed",
                              "profile", "level", "tier", "base-profile"}) {
        gst_structure_remove_field(gst_caps_get_structure(bare, 0), field);
    }
    return Caps(bare);
}

/// What takes samples of certain caps, whatever its rank, which a host may change at any time.
/// Remembered for streams of the same kind: the library looks through all that is installed.
class Candidates {
public:
    /// Never destroyed: players may outlive static objects.
    static Candidates& shared() {
        static auto* const candidates = new Candidates;
        return *candidates;
    }

    Factories of(GstElementFactoryListType type, const GstCaps* caps) {
        const std::lock_guard lock(mutex_);
        const auto now = gst_registry_get_feature_list_cookie(gst_registry_get());
        if (std::exchange(cookie_, now) != now) known_.clear();
        for (const auto& known : known_) {
            if (known.type == type && gst_caps_is_equal(known.caps.get(), caps))
                return copyOf(known.factories);
        }
        const Factories all(gst_element_factory_list_get_elements(type, GST_RANK_NONE));
        Factories fitting(gst_element_factory_list_filter(all.get(), caps, GST_PAD_SINK, FALSE));
        if (known_.size() == most) known_.erase(known_.begin());
        known_.push_back({type, Caps(gst_caps_copy(caps)), copyOf(fitting)});
        return fitting;
    }

private:
    struct Known {
        GstElementFactoryListType type;
        Caps caps;
        Factories factories;
    };
    static constexpr std::size_t most = 16;

    static Factories copyOf(const Factories& factories) {
        return Factories(gst_plugin_feature_list_copy(factories.get()));
    }

    std::mutex mutex_;
    std::vector<Known> known_;
    guint32 cookie_ = 0;
};

Ref<GstElement> firstFit(GstElementFactoryListType type, const GstCaps* caps,
                         const std::function<bool(GstElement*)>& isFit) {
    const Factories ranked(g_list_sort(Candidates::shared().of(type, caps).release(),
                                       gst_plugin_feature_rank_compare_func));
    for (GList* each = ranked.get(); each; each = each->next) {
        if (gst_plugin_feature_get_rank(GST_PLUGIN_FEATURE(each->data)) < GST_RANK_MARGINAL) break;
        GstElement* made = gst_element_factory_create(GST_ELEMENT_FACTORY(each->data), nullptr);
        if (!made) continue;
        Ref<GstElement> element(GST_ELEMENT(gst_object_ref_sink(made)));
        if (isFit(element.get())) return element;
        gst_element_set_state(element.get(), GST_STATE_NULL);
    }
    return nullptr;
}

bool hasBothPads(GstElement* element) {
    const Ref<GstPad> in(gst_element_get_static_pad(element, "sink"));
    const Ref<GstPad> out(gst_element_get_static_pad(element, "src"));
    return in && out;
}

}  // namespace

Ref<GstElement> makeParser(const GstCaps* caps) {
    return firstFit(GST_ELEMENT_FACTORY_TYPE_PARSER, withoutPacking(caps).get(), hasBothPads);
}

Ref<GstElement> makeDecoder(const GstCaps* caps) {
    return firstFit(
        GST_ELEMENT_FACTORY_TYPE_DECODER, withoutPacking(caps).get(), [](GstElement* element) {
            return hasBothPads(element) &&
                   gst_element_set_state(element, GST_STATE_READY) != GST_STATE_CHANGE_FAILURE;
        });
}

}  // namespace korvel::platform::gst
