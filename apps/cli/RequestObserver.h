#pragma once

#include "Messages.h"

#include <korvel/platform/Diagnostics.h>
#include <korvel/platform/foundation/JSONDecoder.h>

#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>

namespace cli {

/// What became of one request, as far as the device's diagnostics tell.
struct RequestReport {
    std::string request;          ///< "GET https://..."; empty: none went out
    korvel::platform::Data sent;  ///< its body
    bool ended = false;
    std::optional<int> status;            ///< nothing: not answered
    std::string body;                     ///< of the answer, its beginning
    std::optional<korvel::NSError> lost;  ///< why there will be no answer
    std::optional<korvel::platform::DecodingError> undecodable;
};

/// Learns what the SDK's completions do not tell, because silence is part of their contract. Any
/// thread.
class RequestObserver final : public korvel::platform::Diagnostics {
public:
    /// `messages` gets a line for every request; null: none.
    explicit RequestObserver(std::shared_ptr<Messages> messages);

    /// Called on a background thread when a request has ended. Set before the first request.
    std::function<void()> onEnd;

    /// The report is about the first request from now on whose address has `part` in it.
    void watch(std::string part = {});
    RequestReport report() const;

    void requestStarted(RequestId id, const korvel::platform::URLRequest& request) override;
    void requestEnded(RequestId id, const korvel::platform::Exchange& exchange) override;
    void decodingFailed(RequestId id, const std::string& record, const std::string& path,
                        const std::string& reason) override;

private:
    void take(const korvel::platform::Exchange& exchange);

    std::shared_ptr<Messages> messages_;
    mutable std::mutex mutex_;
    std::map<RequestId, std::string> underWay_;  ///< "GET https://..."
    std::string part_;
    RequestId watched_ = 0;  ///< 0: it has not gone out yet
    RequestReport report_;
};

}  // namespace cli
