#include <service/Endpoints.h>
#include <service/Wire.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <utility>

namespace korvel::service {

namespace {

/// A request that has been read already, as a stream; what is written to it is the answer.
class Replay final : public httplib::Stream {
public:
    explicit Replay(const ReceivedRequest& request) : parts_{request.head, request.body} {}

    std::string takeWritten() { return std::move(written_); }

    bool is_readable() const override { return true; }
    bool is_writable() const override { return true; }
    ssize_t read(char* into, std::size_t size) override {
        if (parts_[0].empty()) std::swap(parts_[0], parts_[1]);
        const std::size_t count = std::min(size, parts_[0].size());
        std::memcpy(into, parts_[0].data(), count);
        parts_[0].remove_prefix(count);
        return static_cast<ssize_t>(count);
    }
    ssize_t write(const char* bytes, std::size_t size) override {
        written_.append(bytes, size);
        return static_cast<ssize_t>(size);
    }
    void get_remote_ip_and_port(std::string& ip, int& port) const override { local(ip, port); }
    void get_local_ip_and_port(std::string& ip, int& port) const override { local(ip, port); }
    socket_t socket() const override { return 0; }

private:
    static void local(std::string& ip, int& port) {
        ip = "127.0.0.1";
        port = 0;
    }

    std::array<std::string_view, 2> parts_;
    std::string written_;
};

}  // namespace

void Endpoints::prepare() {
    // cpp-httplib makes tables on first use, guarded in code that ThreadSanitizer cannot see into
    // when the library is a packaged one. Used here first, they are there before any thread reads
    // them.
    static const bool prepared = [this] {
        ReceivedRequest form;
        form.body = "--b\r\nContent-Disposition: form-data; name=\"n\"\r\n\r\nv\r\n--b--\r\n";
        form.head =
            "POST /oauth/sdk/login HTTP/1.1\r\nContent-Type: multipart/form-data; boundary=b\r\n"
            "Content-Length: " +
            std::to_string(form.body.size()) + "\r\n\r\n";
        return statusOf(answer(form).bytes) == 401;
    }();
    static_cast<void>(prepared);
}

Endpoints::Reply Endpoints::answer(const ReceivedRequest& request) {
    Replay replay(request);
    bool closes = false;
    const bool answered = process_request(replay, false, closes, [this](httplib::Request& parsed) {
        parsed.headers.erase("Expect");  // the reader has answered it
        // Brotli as cpp-httplib sets it takes a tenth of a second for a large page; gzip is enough.
        const std::string accepted = parsed.get_header_value("Accept-Encoding");
        parsed.headers.erase("Accept-Encoding");
        if (options_.compress && accepted.find("gzip") != std::string::npos)
            parsed.set_header("Accept-Encoding", "gzip");
    });
    Reply reply{.bytes = replay.takeWritten(), .closes = closes || !answered};
    nameStatus(reply.bytes);
    return reply;
}

}  // namespace korvel::service
