#pragma once

#include <service/ContentService.h>

#include <sys/types.h>
#include <cstdint>
#include <functional>
#include <string>

namespace korvel::service {

/// A content service in a process of its own, which ends with this object or with this process: its
/// descriptors, threads and work are not its maker's. To be made before there are other threads: a
/// forked child inherits the locks that these hold for ever. Ends this process if it does not
/// start.
class ServiceProcess {
public:
    /// `prepare` is called in the new process, before anybody is served; what it returns is `said`.
    explicit ServiceProcess(const ContentService::Options& options = {},
                            const std::function<std::string(ContentService&)>& prepare = {});
    ServiceProcess(const ServiceProcess&) = delete;
    ServiceProcess& operator=(const ServiceProcess&) = delete;
    ~ServiceProcess();

    std::uint16_t port() const { return port_; }
    /// Ends with "/".
    const std::string& baseURL() const { return baseURL_; }
    /// PEM file of the authority to trust; empty: no TLS.
    const std::string& caFile() const { return caFile_; }
    const std::string& said() const { return said_; }

private:
    pid_t process_ = -1;
    std::uint16_t port_ = 0;
    std::string baseURL_;
    std::string caFile_;
    std::string said_;
};

}  // namespace korvel::service
