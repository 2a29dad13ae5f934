#include <service/Subtitles.h>

#include <fstream>
#include <iterator>
#include <map>
#include <set>
#include <system_error>
#include <utility>

namespace korvel::service {

namespace {

using httplib::Request;
using httplib::Response;

const std::map<std::string, std::string> names{{"de", "Deutsch"}, {"en", "English"}};

std::set<std::string> languagesIn(const std::filesystem::path& folder) {
    std::set<std::string> found;
    std::error_code none;
    for (const auto& entry : std::filesystem::directory_iterator(folder, none)) {
        if (entry.path().extension() == ".vtt") found.insert(entry.path().stem().string());
    }
    return found;
}

/// All of it is one segment.
std::string playlistOf(const std::string& language) {
    return "#EXTM3U\n#EXT-X-VERSION:3\n#EXT-X-TARGETDURATION:30\n#EXT-X-PLAYLIST-TYPE:VOD\n"
           "#EXTINF:30,\n" +
           language + ".vtt\n#EXT-X-ENDLIST\n";
}

}  // namespace

void addSubtitles(Endpoints& endpoints, std::filesystem::path folder) {
    endpoints.Get(
        "/media/([^/]+)/(?:[^/]+\\.ism/)?subtitles/([a-z]+)\\.(m3u8|vtt)",
        [folder = std::move(folder)](const Request& request, Response& response) {
            const std::string language = request.matches[2].str();
            std::ifstream file(folder / request.matches[1].str() / (language + ".vtt"),
                               std::ios::binary);
            if (!file) return Endpoints::refuse(response, 404, "no such subtitles");
            if (request.matches[3] == "m3u8") {
                return response.set_content(playlistOf(language), "application/vnd.apple.mpegurl");
            }
            response.set_content(std::string{std::istreambuf_iterator(file), {}}, "text/vtt");
        });
}

std::string withSubtitles(std::string playlist, const std::filesystem::path& folder,
                          const std::string& tag) {
    const auto languages = languagesIn(folder / tag);
    if (languages.empty()) return playlist;
    const std::string variant = "#EXT-X-STREAM-INF:";
    std::string groups;
    for (const auto& language : languages) {
        const auto name = names.find(language);
        groups.append("#EXT-X-MEDIA:TYPE=SUBTITLES,GROUP-ID=\"words\",AUTOSELECT=YES,NAME=\"")
            .append(name == names.end() ? language : name->second)
            .append("\",LANGUAGE=\"")
            .append(language)
            .append("\",URI=\"subtitles/")
            .append(language)
            .append(".m3u8\"\n");
    }
    const std::string named = variant + "SUBTITLES=\"words\",";
    auto at = playlist.find(variant);
    if (at != std::string::npos) playlist.insert(at, groups);
    for (at = playlist.find(variant); at != std::string::npos;
         at = playlist.find(variant, at + named.size())) {
        playlist.replace(at, variant.size(), named);
    }
    return playlist;
}

}  // namespace korvel::service
