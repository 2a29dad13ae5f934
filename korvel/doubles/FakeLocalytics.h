#pragma once

#include <korvel/doubles/Journal.h>

#include <korvel/platform/localytics/Localytics.h>

#include <functional>
#include <memory>

namespace korvel::doubles {

/// An analytics library that only writes down what it is told: "integrate KEY",
/// "setLoggingEnabled false", "openSession", "setCustomerId 42",
/// "tagEvent User Login {Client ID: acme, User ID: 42}", "upload". Any thread.
class FakeLocalytics final : public platform::Localytics {
public:
    explicit FakeLocalytics(std::shared_ptr<Journal> journal = std::make_shared<Journal>())
        : journal_(std::move(journal)) {}

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
        journal_->add(std::move(line));
    }

    const std::shared_ptr<Journal> journal_;
};

}  // namespace korvel::doubles
