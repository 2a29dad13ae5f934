#pragma once

#include "Messages.h"

#include <korvel/platform/Diagnostics.h>
#include <korvel/platform/foundation/JSONDecoder.h>

#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>

namespace cli {

/// What became of the newest request, as far as the device's diagnostics tell.
struct RequestReport {
    std::string request;                  ///< "GET https://..."; empty: none went out
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

    /// Called on a background thread when a request is lost. Set before the first request.
    std::function<void()> onLoss;

    void forget();
    RequestReport report() const;

    void requestStarted(RequestId id, const korvel::platform::URLRequest& request) override;
    void requestEnded(RequestId id, const korvel::platform::Exchange& exchange) override;
    void decodingFailed(RequestId id, const std::string& record, const std::string& path,
                        const std::string& reason) override;

private:
    std::shared_ptr<Messages> messages_;
    mutable std::mutex mutex_;
    RequestId newest_ = 0;
    RequestReport report_;
};

}  // namespace cli
