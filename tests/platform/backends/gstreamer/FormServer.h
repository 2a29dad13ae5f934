#pragma once

#include "support/TemporaryFolder.h"

#include <httplib.h>

#include <functional>
#include <string>
#include <thread>

namespace korvel::tests {

inline std::string contentOf(const std::string& path) { return readFile(KORVEL_FORMS + path); }

/// Serves a folder, byte ranges included, unless a test has it do otherwise.
class FormServer {
public:
    explicit FormServer(const std::string& folder) {
        server_.set_mount_point("/", folder);
        server_.set_file_extension_and_mimetype_mapping("m3u8", "application/vnd.apple.mpegurl");
        server_.set_tcp_nodelay(true);
        server_.set_keep_alive_timeout(1);
        server_.set_pre_routing_handler([this](const auto& request, auto& response) {
            return misbehaves && misbehaves(request, response)
                       ? httplib::Server::HandlerResponse::Handled
                       : httplib::Server::HandlerResponse::Unhandled;
        });
        server_.new_task_queue = [] { return new httplib::ThreadPool(32); };
        port_ = server_.bind_to_any_port("127.0.0.1");
        thread_ = std::thread([this] { server_.listen_after_bind(); });
    }
    ~FormServer() {
        server_.stop();
        thread_.join();
    }
    FormServer(const FormServer&) = delete;
    FormServer& operator=(const FormServer&) = delete;

    std::string operator/(const std::string& path) const {
        return "http://127.0.0.1:" + std::to_string(port_) + "/" + path;
    }

    /// Set before the first request: answers itself and returns true, or leaves it to the folder.
    std::function<bool(const httplib::Request&, httplib::Response&)> misbehaves;

private:
    httplib::Server server_;
    int port_ = 0;
    std::thread thread_;
};

}  // namespace korvel::tests
