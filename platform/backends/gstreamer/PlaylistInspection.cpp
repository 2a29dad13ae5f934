#include <korvel/platform/backends/gstreamer/Handles.h>
#include <korvel/platform/backends/gstreamer/PlaylistInspection.h>

#include <gst/app/gstappsink.h>

#include <algorithm>
#include <cctype>

namespace korvel::platform::gst {

namespace {

constexpr std::size_t longestPlaylist = std::size_t{1} << 20U;
constexpr GstClockTime patience = 5 * GST_SECOND;
constexpr GstClockTime step = 50 * GST_MSECOND;

/// The value of `name` in a tag's attribute list, without its quotes.
std::string_view attribute(std::string_view tag, std::string_view name) {
    std::string_view rest = tag.substr(std::min(tag.find(':'), tag.size() - 1) + 1);
    while (!rest.empty()) {
        const auto equals = rest.find('=');
        if (equals == rest.npos) break;
        const std::string_view key = rest.substr(0, equals);
        rest.remove_prefix(equals + 1);
        const bool quoted = rest.starts_with('"');
        if (quoted) rest.remove_prefix(1);
        const auto end = std::min(rest.find(quoted ? '"' : ','), rest.size());
        const std::string_view value = rest.substr(0, end);
        if (key == name) return value;
        rest.remove_prefix(std::min(rest.find(',', end), rest.size() - 1) + 1);
    }
    return {};
}

/// The bytes behind an address; what came until then if it takes too long.
std::string load(const URL& address, const std::function<bool()>& cancelled) {
    GstElement* source =
        gst_element_make_from_uri(GST_URI_SRC, address.absoluteString().c_str(), nullptr, nullptr);
    if (!source) return {};
    const Ref<GstElement> pipeline(GST_ELEMENT(gst_object_ref_sink(gst_pipeline_new(nullptr))));
    GstElement* sink = gst_element_factory_make("appsink", nullptr);
    g_object_set(sink, "sync", FALSE, nullptr);
    gst_bin_add_many(GST_BIN(pipeline.get()), source, sink, nullptr);
    gst_element_link(source, sink);
    gst_element_set_state(pipeline.get(), GST_STATE_PLAYING);

    std::string bytes;
    for (GstClockTime waited = 0; waited < patience && !cancelled();) {
        GstSample* sample = gst_app_sink_try_pull_sample(GST_APP_SINK(sink), step);
        if (!sample) {
            if (gst_app_sink_is_eos(GST_APP_SINK(sink))) break;
            waited += step;
            continue;
        }
        GstMapInfo map;
        GstBuffer* buffer = gst_sample_get_buffer(sample);
        if (gst_buffer_map(buffer, &map, GST_MAP_READ)) {
            bytes.append(reinterpret_cast<const char*>(map.data), map.size);
            gst_buffer_unmap(buffer, &map);
        }
        gst_sample_unref(sample);
        if (bytes.size() > longestPlaylist) break;
    }
    gst_element_set_state(pipeline.get(), GST_STATE_NULL);
    return bytes;
}

}  // namespace

Encryption encryptionIn(std::string_view playlist, const URL& address,
                        std::optional<URL>& variant) {
    Encryption found;
    bool variantFollows = false;
    while (!playlist.empty()) {
        const auto end = std::min(playlist.find('\n'), playlist.size() - 1);
        std::string_view line = playlist.substr(0, end + 1);
        playlist.remove_prefix(end + 1);
        while (!line.empty() && std::isspace(static_cast<unsigned char>(line.back())))
            line.remove_suffix(1);

        if (line.starts_with("#EXT-X-KEY:") || line.starts_with("#EXT-X-SESSION-KEY:")) {
            const auto method = attribute(line, "METHOD");
            if (method.starts_with("SAMPLE-AES")) found.sampleAES = true;
            const auto key = address.resolving(attribute(line, "URI"));
            if (method == "AES-128" && key && key->scheme()) {
                std::string scheme = *key->scheme();
                std::transform(
                    scheme.begin(), scheme.end(), scheme.begin(),
                    [](unsigned char letter) { return static_cast<char>(std::tolower(letter)); });
                found.keySchemes.insert(std::move(scheme));
            }
        }
        if (variantFollows && !line.empty() && !line.starts_with('#')) {
            if (!variant) variant = address.resolving(line);
            variantFollows = false;
        }
        variantFollows = variantFollows || line.starts_with("#EXT-X-STREAM-INF");
    }
    return found;
}

Encryption inspectPlaylist(const URL& address, const std::function<bool()>& cancelled) {
    std::optional<URL> variant;
    Encryption found = encryptionIn(load(address, cancelled), address, variant);
    if (variant && !cancelled()) {
        std::optional<URL> none;
        Encryption more = encryptionIn(load(*variant, cancelled), *variant, none);
        found.sampleAES = found.sampleAES || more.sampleAES;
        found.keySchemes.merge(more.keySchemes);
    }
    return found;
}

}  // namespace korvel::platform::gst
