#pragma once

#include "support/ServerProgram.h"
#include "support/TemporaryFolder.h"

#include <cstdlib>
#include <memory>
#include <sstream>
#include <string>

namespace korvel::tests {

/// A real HTTP/2 server in front of a service without TLS, as services are deployed: nginx with a
/// certificate of its own for "localhost".
class HTTP2Front {
public:
    static bool isInstalled() { return access(nginx, X_OK) == 0 && access(openssl, X_OK) == 0; }

    /// Serves what the port of this machine serves. False, with the reason in `errors()`, if it
    /// does not come up.
    bool start(std::uint16_t service) {
        const std::string make =
            std::string(openssl) +
            " req -x509 -newkey ec -pkeyopt ec_paramgen_curve:P-256 -nodes -days 2 -subj "
            "/CN=localhost -addext subjectAltName=DNS:localhost -keyout " +
            file("key.pem") + " -out " + caFile() + " 2>/dev/null";
        if (std::system(make.c_str()) != 0) return false;  // NOLINT: no other thread uses it
        writeFile(file("configuration"), configuration(service));
        server_ = std::make_unique<ServerProgram>(
            std::vector<std::string>{nginx, "-p", file(""), "-c", file("configuration"), "-e",
                                     file("errors")},
            port_);
        return server_->isReady();
    }

    std::uint16_t port() const { return port_; }
    std::string url() const { return "https://localhost:" + std::to_string(port_) + "/"; }
    std::string caFile() const { return file("certificate.pem"); }
    std::string errors() const { return readFile(file("errors")); }
    /// A line for each answer: number of the connection, protocol, status.
    std::string answers() const { return readFile(file("access")); }

private:
    static constexpr const char* nginx = "/usr/sbin/nginx";
    static constexpr const char* openssl = "/usr/bin/openssl";

    std::string file(const char* name) const { return (folder_ / name).string(); }

    std::string configuration(std::uint16_t service) const {
        std::ostringstream text;
        text << "daemon off; master_process off; pid " << file("pid")
             << "; worker_rlimit_nofile 4096; events { worker_connections 1024; } http {"
             << "log_format line '$connection $server_protocol $status'; access_log "
             << file("access") << " line;";
        for (const char* kind : {"client_body", "proxy", "fastcgi", "uwsgi", "scgi"}) {
            text << kind << "_temp_path " << file(kind) << ";";
        }
        text << "server { listen 127.0.0.1:" << port_ << " ssl http2; server_name localhost;"
             << "ssl_certificate " << caFile() << "; ssl_certificate_key " << file("key.pem")
             << "; location / { proxy_pass http://127.0.0.1:" << service
             << "; proxy_http_version 1.1; } } }\n";
        return text.str();
    }

    TemporaryFolder folder_;
    const std::uint16_t port_ = freePort();
    std::unique_ptr<ServerProgram> server_;
};

}  // namespace korvel::tests
