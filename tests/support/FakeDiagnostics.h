#pragma once

#include "support/Journal.h"

#include <korvel/platform/Diagnostics.h>

#include <atomic>

namespace korvel::tests {

/// Counts exchanges and keeps what was undecodable. Any thread.
struct FakeDiagnostics final : platform::Diagnostics {
    std::atomic<std::size_t> started = 0;
    std::atomic<std::size_t> ended = 0;
    Journal undecodable;  ///< "RECORD path"

    void requestStarted(RequestId, const platform::URLRequest&) override { ++started; }
    void requestEnded(RequestId, const platform::Exchange&) override { ++ended; }
    void decodingFailed(RequestId, const std::string& record, const std::string& path,
                        const std::string&) override {
        undecodable.add(record + " " + path);
    }
};

}  // namespace korvel::tests
