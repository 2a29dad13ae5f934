#pragma once

#include "support/Hook.h"

#include <korvel/platform/localytics/Localytics.h>

#include <mutex>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace korvel::tests {

/// An analytics library that only remembers what it was told. Any thread.
class FakeLocalytics final : public platform::Localytics {
public:
    /// Called with each line of `calls()` as it is made: for tests that look at
    /// the order of calls across several fakes.
    Hook<const std::string&> onCall;

    /// In order: "integrate KEY", "setLoggingEnabled false", "openSession", "setCustomerId 42",
    /// "tagEvent User Login {Client ID: acme, User ID: 42}", "upload".
    std::vector<std::string> calls() const {
        const std::lock_guard lock(mutex_);
        return calls_;
    }

    void integrate(std::string_view appKey) override { record("integrate", appKey); }
    void setLoggingEnabled(bool enabled) override {
        record("setLoggingEnabled", enabled ? "true" : "false");
    }
    void openSession() override { record("openSession"); }
    void setCustomerId(std::string_view customerId) override {
        record("setCustomerId", customerId);
    }
    void tagEvent(std::string_view eventName, const Attributes& attributes) override {
        std::string text = std::string(eventName) + " {";
        const char* separator = "";
        for (const auto& [name, value] : attributes) {
            text.append(separator).append(name).append(": ").append(value);
            separator = ", ";
        }
        record("tagEvent", text + "}");
    }
    void upload() override { record("upload"); }

private:
    void record(std::string line, std::optional<std::string_view> argument = std::nullopt) {
        if (argument) line.append(" ").append(*argument);
        onCall(line);
        const std::lock_guard lock(mutex_);
        calls_.push_back(std::move(line));
    }

    mutable std::mutex mutex_;
    std::vector<std::string> calls_;
};

}  // namespace korvel::tests
