#include "platform/backends/gstreamer/Fixture.h"
#include "platform/backends/gstreamer/FormServer.h"
#include "support/ChildProcess.h"
#include "support/Memory.h"

#include "support/ServerProgram.h"

#include <sys/inotify.h>
#include <sys/stat.h>

#include <filesystem>
#include <fstream>
#include <set>

namespace korvel::tests {

namespace {

/// A file, a fifo and two ports that nobody is to open, and who did.
class Traps {
public:
    Traps()
        : tcp_(bound(SOCK_STREAM)), udp_(bound(SOCK_DGRAM)), opened_(inotify_init1(IN_NONBLOCK)) {
        std::ofstream(folder_ / "file") << "#EXTM3U\n";
        mkfifo((folder_ / "fifo").c_str(), 0600);
        for (const char* each : {"file", "fifo"})
            inotify_add_watch(opened_, (folder_ / each).c_str(), IN_OPEN);
        listen(tcp_, 8);
    }
    Traps(const Traps&) = delete;
    Traps& operator=(const Traps&) = delete;
    ~Traps() {
        for (const int each : {tcp_, udp_, opened_}) close(each);
    }
    /// With FILE, FIFO, TCP and UDP replaced by what they stand for.
    std::string named(std::string text) const {
        const std::pair<const char*, std::string> names[] = {{"FILE", folder_ / "file"},
                                                             {"FIFO", folder_ / "fifo"},
                                                             {"TCP", port(tcp_)},
                                                             {"UDP", port(udp_)}};
        for (const auto& [name, place] : names) {
            for (auto at = text.find(name); at != text.npos; at = text.find(name))
                text.replace(at, std::string_view(name).size(), place);
        }
        return text;
    }
    bool haveSeenSomebody() const {
        char bytes[256];
        const int came = accept4(tcp_, nullptr, nullptr, SOCK_NONBLOCK);
        if (came >= 0) close(came);
        return came >= 0 || recv(udp_, bytes, sizeof bytes, MSG_DONTWAIT) >= 0 ||
               read(opened_, bytes, sizeof bytes) > 0;
    }

private:
    static int bound(int type) {
        const int made = socket(AF_INET, type | SOCK_NONBLOCK, 0);
        const sockaddr_in address = onLoopback(0);
        EXPECT_EQ(bind(made, reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
        return made;
    }
    static std::string port(int socket) {
        sockaddr_in address{};
        socklen_t size = sizeof address;
        getsockname(socket, reinterpret_cast<sockaddr*>(&address), &size);
        return "127.0.0.1:" + std::to_string(ntohs(address.sin_port));
    }
    const TemporaryFolder folder_;
    const int tcp_, udp_, opened_;
};

/// Files that this process has open, but for its libraries and what its server serves.
std::set<std::string> openFiles() {
    std::set<std::string> all;
    for (const auto& each : std::filesystem::directory_iterator("/proc/self/fd")) {
        std::error_code gone;
        const std::string name = std::filesystem::read_symlink(each, gone);
        const bool isPlain = name.starts_with("/") && !name.starts_with("/dev/");
        if (isPlain && !name.starts_with("/proc/") && name.find(".so") == name.npos &&
            !name.starts_with(KORVEL_FORMS))
            all.insert(name);
    }
    return all;
}

std::string list(const std::string& uri, const std::string& tags = "", int count = 1) {
    std::string text = "#EXTM3U\n#EXT-X-TARGETDURATION:2\n" + tags;
    for (int i = 0; i < count; ++i) text += "#EXTINF:2,\n" + uri + "\n";
    return text + "#EXT-X-ENDLIST\n";
}

std::string master(const std::string& uri, const std::string& more = "") {
    return "#EXTM3U\n" + more + "#EXT-X-STREAM-INF:BANDWIDTH=9" +
           (more.empty() ? "" : ",AUDIO=\"a\"") + "\n" + uri + "\n";
}

std::string lines(const std::string& line, int count) {
    std::string all;
    for (int i = 0; i < count; ++i) all += line;
    return all;
}

struct Hostile {
    const char* what;
    bool plays;
    std::string text;  ///< of what is opened; empty: as its path says
    const char* path = "trap/index.m3u8";
};

std::vector<Hostile> everything() {
    const std::string good = "/ts-2/index0.ts";
    const std::string init = "#EXT-X-MAP:URI=\"/fmp4-2/init.mp4\"\n";
    std::vector<Hostile> all = {
        {"names itself", false, list("index.m3u8")},
        {"is its own variant", false, master("index.m3u8")},
        {"deep", false, "", "deep/1"},
        {"key in a file", false, list(good, "#EXT-X-KEY:METHOD=AES-128,URI=\"file://FILE\"\n")},
        {"map in a fifo", false, list(good, "#EXT-X-MAP:URI=\"file://FIFO\"\n")},
        {"variant in a file", false, master("file://FILE")},
        {"sound in a fifo", true,
         master("/ts-2/index.m3u8",
                "#EXT-X-MEDIA:TYPE=AUDIO,GROUP-ID=\"a\",NAME=\"n\",DEFAULT=YES,URI=\"file://"
                "FIFO\"\n")},
        {"leads to a file", false, "", "to/file://FILE"},
        {"leads to another scheme", false, "", "to/ftp://TCP/x"},
        {"DASH", false,
         "<?xml version=\"1.0\"?><MPD xmlns=\"urn:mpeg:dash:schema:mpd:2011\"><BaseURL>"
         "file://FILE</BaseURL></MPD>"},
        {"smooth streaming", false, "<?xml version=\"1.0\"?><SmoothStreamingMedia/>"},
        {"session description", false,
         "v=0\r\no=- 0 0 IN IP4 127.0.0.1\r\nm=video 9 RTP/AVP 96\r\nc=IN IP4 127.0.0.1\r\n"},
        {"concatenation", false, "ffconcat version 1.0\nfile FILE\n"},
        {"another's address", false, "RTSPtext\nrtsp://TCP/x\n"},
        {"reference movie", false,
         std::string(
             "\0\0\0\x30moov\0\0\0\x28rmra\0\0\0\x20rmda\0\0\0\x18rdrf\0\0\0\0url \0\0\0\x04"
             "file",
             48)},
        {"a million lines of nothing", true, list(good, lines("#\n", 1'000'000))},
        {"half a million segments", false, list(good, "", 500'000)},
        {"a line without an end", false, "", "endless/line"},
        {"a segment of nothing without an end", false, list("/endless/zeros")},
        {"one-byte pieces", true, list("/bytes/ts-2/index0.ts")},
        {"huge range", false, list(good, "#EXT-X-BYTERANGE:9223372036854775807@0\n")},
        {"range behind the end", false, list(good, "#EXT-X-BYTERANGE:10@9000000000\n")},
        {"numbers that overflow", true,
         list(good,
              "#EXT-X-MEDIA-SEQUENCE:99999999999999999999\n#EXT-X-DISCONTINUITY-SEQUENCE:"
              "9223372036854775807\n#EXTINF:1e300,\n" +
                  good + "\n")},
        {"times that run backwards", true,
         list("/ts-2/index2.ts", "#EXTINF:2,\n/ts-2/index2.ts\n#EXTINF:2,\n/ts-2/index1.ts\n")},
        {"half a fragment", true, list("/half/fmp4-2/index0.m4s", init)},
        {"half a head", false,
         list("/fmp4-2/index0.m4s", "#EXT-X-MAP:URI=\"/half/fmp4-2/init.mp4\"\n")},
        {"half a file", true, "", "half/file-front.mp4"},
        {"half a file without its head", false, "", "half/file-end.mp4"}};
    for (const char* uri :
         {"file://FILE", "file://FIFO", "FIFO", "fd://0", "udp://UDP", "rtp://UDP", "rtsp://TCP/x",
          "ftp://TCP/x", "tcp://TCP", "concat:FILE|FILE", "data:text/plain,x"})
        all.push_back({uri, false, list(uri)});
    return all;
}

}  // namespace

class HostileTest : public GStreamerTest {
protected:
    bool answer(const httplib::Request& request, httplib::Response& response) const {
        const std::string& path = request.path;
        if (path.starts_with("/to/")) {
            response.status = 302;
            response.set_header("Location", traps.named(path.substr(4)));
        } else if (path.starts_with("/deep/")) {
            response.set_redirect("/deep/" + std::to_string(std::stoi(path.substr(6)) + 1));
        } else if (path.starts_with("/half/")) {
            const auto whole = contentOf(path.substr(5));
            response.set_content(whole.substr(0, whole.size() / 2), "video/mp4");
        } else if (path.starts_with("/endless/")) {
            const bool isLine = path.ends_with("line");
            response.set_chunked_content_provider("x/y", [isLine](std::size_t at, auto& sink) {
                const auto piece = at == 0 && isLine ? std::string("#EXTM3U\n")
                                                     : std::string(65536, isLine ? 'a' : '\0');
                return sink.write(piece.data(), piece.size());
            });
        } else if (path.starts_with("/bytes/") || path.starts_with("/trap/")) {
            const auto whole = path == "/trap/index.m3u8" ? text : contentOf(path.substr(6));
            const std::size_t slow = whole.size() > 1'000'000 ? 0 : 3000;
            response.set_content_provider(
                whole.size(), "x/y", [whole, slow](std::size_t at, std::size_t left, auto& sink) {
                    return sink.write(whole.data() + at, at < slow ? 1 : left);
                });
        } else {
            return false;
        }
        return true;
    }

    const Traps traps;
    std::string text;
    FormServer server{KORVEL_FORMS};
};

TEST_F(HostileTest, EndsClearlyOrPlaysAndOpensNothing) {
    server.misbehaves = [this](const auto& request, auto& response) {
        return answer(request, response);
    };
    for (const char* warm : {"ts-2/index.m3u8", "fmp4-2/index.m3u8", "file-front.mp4"}) {
        Show show(server / warm, device);
        ASSERT_TRUE(until([&] { return show.isReady(); }));
    }
    const auto before = openFiles();
    for (const Hostile& each : everything()) {
        SCOPED_TRACE(each.what);
        text = traps.named(each.text);
        forgetPeak();
        const double used = megabytes("VmRSS:");
        std::set<std::string> opened;
        Show show(server / each.path, device);
        show.player->play();
        EXPECT_TRUE(until([&] {
            opened.merge(openFiles());
            return show.isReady() || show.hasFailed();
        }));
        EXPECT_EQ(show.isReady(), each.plays);
        if (show.hasFailed()) {
            EXPECT_TRUE(show.item->error()->text("NSLocalizedFailureReason"));
            EXPECT_EQ(show.picture(), -1);
            EXPECT_EQ(show.listener->heard, std::vector<std::string>{"status"});
            EXPECT_EQ(show.player->rate(), 0.f);
        }
        play(20ms);
        EXPECT_FALSE(traps.haveSeenSomebody());
        EXPECT_EQ(opened, before);
        EXPECT_TRUE(sanitized || megabytes("VmHWM:") - used < 64);
    }
    for (const char* address : {"file://FILE", "file://FIFO", "fd://0", "udp://UDP", "rtsp://TCP/x",
                                "ftp://TCP/x", "data:,x"}) {
        Show show(traps.named(address), device);
        EXPECT_TRUE(until([&] { return show.hasFailed(); })) << address;
    }
    EXPECT_FALSE(traps.haveSeenSomebody());
    std::ifstream(traps.named("FILE")).get();
    EXPECT_TRUE(traps.haveSeenSomebody()) << "they do see";
}

}  // namespace korvel::tests
