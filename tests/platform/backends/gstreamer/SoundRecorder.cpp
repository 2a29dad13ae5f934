#include "platform/backends/gstreamer/SoundRecorder.h"

#include <gst/gst.h>

#include <cstring>
#include <map>
#include <mutex>

namespace korvel::tests {

namespace {

std::mutex mutex;
std::map<std::string, std::vector<SoundPiece>> recorded;

void note(const std::string& name, GstPad* pad, GstBuffer* buffer) {
    GstCaps* caps = gst_pad_get_current_caps(pad);
    GstEvent* event = gst_pad_get_sticky_event(pad, GST_EVENT_SEGMENT, 0);
    const GstSegment* segment = nullptr;
    gst_event_parse_segment(event, &segment);
    SoundPiece piece{};
    int channels = 1;
    const GstStructure* fields = gst_caps_get_structure(caps, 0);
    gst_structure_get_int(fields, "rate", &piece.perSecond);
    gst_structure_get_int(fields, "channels", &channels);
    const auto time = gst_segment_to_stream_time(segment, GST_FORMAT_TIME, GST_BUFFER_PTS(buffer));
    piece.from = static_cast<double>(time) / GST_SECOND;
    GstMapInfo map;
    if (gst_buffer_map(buffer, &map, GST_MAP_READ)) {
        const auto frame = static_cast<std::size_t>(channels) * sizeof(float);
        for (std::size_t at = 0; at + frame <= map.size; at += frame) {
            float sample = 0;
            std::memcpy(&sample, map.data + at, sizeof sample);
            piece.samples.push_back(sample);
        }
        gst_buffer_unmap(buffer, &map);
    }
    piece.length = static_cast<double>(piece.samples.size()) / piece.perSecond;
    gst_event_unref(event);
    gst_caps_unref(caps);
    const std::lock_guard lock(mutex);
    recorded[name].push_back(std::move(piece));
}

GstPadProbeReturn see(GstPad* pad, GstPadProbeInfo* info, gpointer) {
    const std::string name = G_OBJECT_TYPE_NAME(GST_PAD_PARENT(pad));
    if ((info->type & GST_PAD_PROBE_TYPE_BUFFER) != 0) {
        note(name, pad, GST_PAD_PROBE_INFO_BUFFER(info));
    } else if (GST_EVENT_TYPE(GST_PAD_PROBE_INFO_EVENT(info)) == GST_EVENT_FLUSH_STOP) {
        const std::lock_guard lock(mutex);
        recorded[name].clear();
    }
    return GST_PAD_PROBE_OK;
}

void initialize(GTypeInstance* instance, gpointer) {
    g_object_set(instance, "sync", TRUE, nullptr);
    auto* pad = GST_PAD(GST_ELEMENT(instance)->sinkpads->data);
    constexpr auto type =
        static_cast<GstPadProbeType>(GST_PAD_PROBE_TYPE_BUFFER | GST_PAD_PROBE_TYPE_EVENT_FLUSH);
    gst_pad_add_probe(pad, type, see, nullptr, nullptr);
}

void initializeClass(gpointer type, gpointer) {
    static GstStaticPadTemplate sink =
        GST_STATIC_PAD_TEMPLATE("sink", GST_PAD_SINK, GST_PAD_ALWAYS,
                                GST_STATIC_CAPS("audio/x-raw, format=F32LE, layout=interleaved"));
    gst_element_class_add_static_pad_template(GST_ELEMENT_CLASS(type), &sink);
}

}  // namespace

void registerSoundRecorder(const std::string& name) {
    if (g_type_from_name(name.c_str()) != 0) return;
    auto* feature = gst_registry_lookup_feature(gst_registry_get(), "fakesink");
    auto* factory = GST_ELEMENT_FACTORY(gst_plugin_feature_load(feature));
    GTypeQuery parent;
    g_type_query(gst_element_factory_get_element_type(factory), &parent);
    const auto type =
        g_type_register_static_simple(parent.type, name.c_str(), parent.class_size, initializeClass,
                                      parent.instance_size, initialize, static_cast<GTypeFlags>(0));
    gst_element_register(nullptr, name.c_str(), GST_RANK_NONE, type);
}

std::vector<SoundPiece> recordedBy(const std::string& name) {
    const std::lock_guard lock(mutex);
    return recorded[name];
}

}  // namespace korvel::tests
