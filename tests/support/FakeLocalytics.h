#pragma once

#include "support/Journal.h"

#include <korvel/platform/localytics/Localytics.h>

#include <functional>
#include <memory>

namespace korvel::tests {

/// An analytics library that only remembers what it was told, in a journal of other fakes too:
/// "integrate KEY", "setLoggingEnabled false", "openSession", "setCustomerId 42",
/// "tagEvent User Login {Client ID: acme, User ID: 42}", "upload". Any thread.
class FakeLocalytics final : public platform::Localytics, public Journal {
public:
    explicit FakeLocalytics(std::shared_ptr<Journal> common = std::make_shared<Journal>())
        : common_(std::move(common)) {}

    std::function<void()> onCall = [] {};

    void integrate(std::string_view appKey) override { record("integrate " + std::string(appKey)); }
    void setLoggingEnabled(bool enabled) override {
        record(enabled ? "setLoggingEnabled true" : "setLoggingEnabled false");
    }
    void openSession() override { record("openSession"); }
    void setCustomerId(std::string_view customerId) override {
        record("setCustomerId " + std::string(customerId));
    }
    void tagEvent(std::string_view eventName, const Attributes& attributes) override {
        std::string text = "tagEvent " + std::string(eventName) + " {";
        const char* separator = "";
        for (const auto& [name, value] : attributes) {
            text.append(separator).append(name).append(": ").append(value);
            separator = ", ";
        }
        record(text + "}");
    }
    void upload() override { record("upload"); }

private:
    void record(std::string line) {
        onCall();
        common_->add(line);
        add(std::move(line));
    }

    const std::shared_ptr<Journal> common_;
};

}  // namespace korvel::tests
