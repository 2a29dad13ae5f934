#include <korvel/platform/backends/gstreamer/Playlist.h>

#include <algorithm>
#include <cctype>

namespace korvel::platform::gst {

namespace {

constexpr std::string_view byteOrderMark = "\xEF\xBB\xBF";

std::string lowered(std::string_view text) {
    std::string lower(text);
    std::transform(lower.begin(), lower.end(), lower.begin(),
                   [](unsigned char letter) { return static_cast<char>(std::tolower(letter)); });
    return lower;
}

/// Where the value of `name` stands in a tag's attribute list, without its quotes.
std::optional<std::string_view> attribute(std::string_view tag, std::string_view name) {
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
        rest.remove_prefix(end);
        rest.remove_prefix(std::min(rest.find(','), rest.size()));
        if (!rest.empty()) rest.remove_prefix(1);
    }
    return std::nullopt;
}

/// As it is if it is no address.
std::string routedReference(std::string_view reference, const URL& base, bool isKey) {
    const auto target = base.resolving(reference);
    if (!target) return std::string(reference);
    if (auto routed = routedAddress(*target)) return *std::move(routed);
    if (!isKey) return target->absoluteString();
    return std::string(keyScheme).append(":").append(target->absoluteString());
}

std::string routedTag(std::string_view tag, const URL& base, bool& sampleAES) {
    const bool isKey = tag.starts_with("#EXT-X-KEY:") || tag.starts_with("#EXT-X-SESSION-KEY:");
    const auto method = attribute(tag, "METHOD");
    if (isKey && method && method->starts_with("SAMPLE-AES")) sampleAES = true;
    const auto reference = attribute(tag, "URI");
    if (!reference) return std::string(tag);
    const auto before = static_cast<std::size_t>(reference->data() - tag.data());
    return std::string(tag.substr(0, before))
        .append(routedReference(*reference, base, isKey))
        .append(tag.substr(before + reference->size()));
}

std::string_view withoutTrailingSpace(std::string_view line) {
    while (!line.empty() && std::isspace(static_cast<unsigned char>(line.back())))
        line.remove_suffix(1);
    return line;
}

}  // namespace

std::optional<std::string> routedAddress(const URL& url) {
    const auto scheme = url.scheme();
    if (!scheme) return std::nullopt;
    const std::string lower = lowered(*scheme);
    if (lower != "http" && lower != "https") return std::nullopt;
    return std::string(routedPrefix) + url.withScheme(lower).absoluteString();
}

std::optional<URL> originalAddress(std::string_view routed) {
    if (routed.starts_with(routedPrefix)) routed.remove_prefix(routedPrefix.size());
    if (routed.starts_with(keyScheme)) routed.remove_prefix(keyScheme.size() + 1);
    return URL::parse(routed);
}

bool isPlaylist(std::string_view beginning) {
    if (beginning.starts_with(byteOrderMark)) beginning.remove_prefix(byteOrderMark.size());
    return beginning.starts_with("#EXTM3U");
}

Playlist routedPlaylist(std::string_view text, const URL& address) {
    Playlist playlist;
    playlist.text.reserve(2 * text.size());
    if (text.starts_with(byteOrderMark)) text.remove_prefix(byteOrderMark.size());
    while (!text.empty()) {
        const auto end = std::min(text.find('\n'), text.size() - 1);
        const std::string_view line = withoutTrailingSpace(text.substr(0, end + 1));
        text.remove_prefix(end + 1);
        if (line.starts_with('#')) {
            playlist.text += routedTag(line, address, playlist.sampleAES);
        } else if (!line.empty()) {
            playlist.text += routedReference(line, address, false);
        }
        playlist.text += '\n';
    }
    return playlist;
}

}  // namespace korvel::platform::gst
