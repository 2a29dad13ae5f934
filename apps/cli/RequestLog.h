#pragma once

#include "Messages.h"

#include <korvel/platform/Diagnostics.h>

#include <map>
#include <memory>
#include <mutex>
#include <string>

namespace cli {

/// A line for every request, and for what could not be decoded. Any thread.
class RequestLog final : public korvel::platform::Diagnostics {
public:
    explicit RequestLog(std::shared_ptr<Messages> messages) : messages_(std::move(messages)) {}

    void requestStarted(RequestId id, const korvel::platform::URLRequest& request) override;
    void requestEnded(RequestId id, const korvel::platform::Exchange& exchange) override;
    void decodingFailed(RequestId id, const std::string& record, const std::string& path,
                        const std::string& reason) override;

private:
    const std::shared_ptr<Messages> messages_;
    std::mutex mutex_;
    std::map<RequestId, std::string> underWay_;  ///< "GET https://..."
};

}  // namespace cli
