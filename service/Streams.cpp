#include <service/Streams.h>
#include <service/Subtitles.h>

#include <fstream>
#include <iterator>
#include <utility>

namespace korvel::service {

namespace {

using httplib::Request;
using httplib::Response;

/// Playlists name the key server by the host that the client asked: ports differ from run to run.
void serve(const std::filesystem::path& file, const Request& request, Response& response,
           const std::filesystem::path& subtitles = {}) {
    std::ifstream stream(file, std::ios::binary);
    if (!stream) return Endpoints::refuse(response, 404, "no such part of a stream");
    std::string content{std::istreambuf_iterator(stream), {}};
    constexpr std::string_view placeholder = "{host}";
    const bool isPlaylist = file.extension() == ".m3u8";
    if (const auto at = isPlaylist ? content.find(placeholder) : std::string::npos;
        at != std::string::npos) {
        content.replace(at, placeholder.size(), request.get_header_value("Host"));
    }
    if (!subtitles.empty()) {
        content = withSubtitles(std::move(content), subtitles, request.matches[1].str());
    }
    response.set_content(content, isPlaylist ? "application/vnd.apple.mpegurl" : "video/mp2t");
}

}  // namespace

void addStreams(Endpoints& endpoints, const std::filesystem::path& folder,
                const std::filesystem::path& subtitles, KeyServer& keys) {
    endpoints.Post("/media/keys", [&keys](const Request& request, Response& response) {
        const KeyServer::Reply reply = keys.answer(request.get_header_value("Authorization"),
                                                   request.get_param_value("kid"), request.body);
        if (reply.status != 200) return Endpoints::refuse(response, reply.status, reply.body);
        response.set_content(reply.body, "text/plain");
    });
    const auto plain = folder / "plain";
    const auto encrypted = folder / "protected";
    endpoints.Get("/media/([^/]+)/index\\.m3u8",
                  [plain, subtitles](const Request& request, Response& response) {
                      serve(plain / "index.m3u8", request, response, subtitles);
                  });
    endpoints.Get("/media/([^/]+)/[^/]+\\.ism/manifest.*",
                  [encrypted, subtitles](const Request& request, Response& response) {
                      serve(encrypted / "index.m3u8", request, response, subtitles);
                  });
    addSubtitles(endpoints, subtitles);
    constexpr const char* part = "(\\d+p)/([0-9]+\\.ts|index\\.m3u8)";
    endpoints.Get(
        std::string("/media/[^/]+/") + part, [plain](const Request& request, Response& response) {
            serve(plain / request.matches[1].str() / request.matches[2].str(), request, response);
        });
    endpoints.Get(std::string("/media/[^/]+/[^/]+\\.ism/") + part,
                  [encrypted](const Request& request, Response& response) {
                      serve(encrypted / request.matches[1].str() / request.matches[2].str(),
                            request, response);
                  });
}

}  // namespace korvel::service
