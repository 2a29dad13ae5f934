#pragma once

#include "support/ChildProcess.h"

#include <service/ContentService.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdlib>
#include <functional>
#include <string>

namespace korvel::tests {

/// A content service in a process of its own, whose descriptors and threads are not the test's. To
/// be made before the test has any thread: a forked child inherits the locks these hold for ever.
class ServiceProcess {
public:
    using Service = service::ContentService;

    explicit ServiceProcess(
        const Service::Options& options = {},
        const std::function<void(Service&)>& prepare = [](Service&) {})
        : process_([&] {
              Service service(options);
              prepare(service);
              Place place{.port = service.port()};
              service.caFile().string().copy(place.authority.data(), place.authority.size() - 1);
              if (write(pipe_[1], &place, sizeof place) == sizeof place) pause();
          }) {
        close(pipe_[1]);
        if (read(pipe_[0], &place_, sizeof place_) != sizeof place_) std::abort();
        close(pipe_[0]);
    }

    std::uint16_t port() const { return place_.port; }
    std::string authority() const { return place_.authority.data(); }  ///< PEM file; empty: no TLS

private:
    struct Place {
        std::uint16_t port = 0;
        std::array<char, 1024> authority{};
    };
    static std::array<int, 2> makePipe() {
        std::array<int, 2> ends{};
        if (pipe(ends.data()) != 0) std::abort();
        return ends;
    }

    std::array<int, 2> pipe_ = makePipe();
    ChildProcess process_;
    Place place_;
};

}  // namespace korvel::tests
