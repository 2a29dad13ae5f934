#pragma once

#include <korvel/platform/Diagnostics.h>

#include <atomic>

namespace korvel::tests {

/// Counts exchanges. Any thread.
struct FakeDiagnostics final : platform::Diagnostics {
    std::atomic<std::size_t> started = 0;
    std::atomic<std::size_t> ended = 0;

    void requestStarted(RequestId, const platform::URLRequest&) override { ++started; }
    void requestEnded(RequestId, const platform::Exchange&) override { ++ended; }
};

}  // namespace korvel::tests
