#pragma once

#include <korvel/platform/Diagnostics.h>

#include <atomic>
#include <string>
#include <vector>

namespace korvel::doubles {

/// Counts exchanges. Any thread.
struct FakeDiagnostics final : platform::Diagnostics {
    std::atomic<std::size_t> started = 0;
    std::atomic<std::size_t> ended = 0;

    std::vector<std::string>
        undecodable;                    ///< "KCSDKUser : reason"; written by one thread at a time
    std::vector<std::string> keychain;  ///< "token -36", likewise

    void requestStarted(RequestId, const platform::URLRequest&) override { ++started; }
    void requestEnded(RequestId, const platform::Exchange&) override { ++ended; }
    void decodingFailed(RequestId, const std::string& record, const std::string& path,
                        const std::string& reason) override {
        undecodable.push_back(record + " " + path + ": " + reason);
    }
    void keychainFailed(const std::string& account, platform::OSStatus status) override {
        keychain.push_back(account + " " + std::to_string(status));
    }
};

}  // namespace korvel::doubles
