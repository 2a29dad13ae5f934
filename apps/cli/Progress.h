#pragma once

#include "Messages.h"

#include <korvel/platform/foundation/Timer.h>

#include <memory>
#include <string>

namespace cli {

/// Shows on a terminal that the program is alive, from the second second on. Main queue only.
class Progress {
public:
    Progress(std::shared_ptr<Messages> messages, korvel::platform::MainQueue& queue,
             std::string what);
    ~Progress();
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;

private:
    std::shared_ptr<Messages> messages_;
    std::shared_ptr<korvel::platform::Timer> timer_;
};

}  // namespace cli
