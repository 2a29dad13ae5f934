#pragma once

#include <korvel/doubles/FakeDevice.h>
#include "support/Samples.h"

#include <korvel/KorvelContentSDK.h>
#include <korvel/model/KCSDKOndemandContentToken.h>
#include <korvel/network/KCSDKNetworkManager.h>
#include <korvel/platform/foundation/JSONEncoder.h>

#include <gtest/gtest.h>

namespace korvel::tests {

using namespace doubles;

/// What a host was told.
template <class Value> struct Told {
    struct Call {
        Value value;
        std::optional<NSError> error;
    };
    std::vector<Call> calls;

    auto completion() {
        return [this](Value value, std::optional<NSError> error) {
            calls.push_back({std::move(value), std::move(error)});
        };
    }
};

class NetworkTest : public testing::Test {
protected:
    FakeDevice fake;
    std::shared_ptr<KCSDKConfig> config = std::make_shared<KCSDKConfig>(
        "https://service.test/", "secret", "key", "tenant", "analytics");
    std::shared_ptr<KCSDKNetworkManager> manager = makeManager();

    std::shared_ptr<KCSDKNetworkManager> makeManager(
        std::shared_ptr<const platform::JSONEncoder> encoder = nullptr) const {
        auto made = std::make_shared<KCSDKNetworkManager>(fake.device(), std::move(encoder));
        made->setSdkConfig(config);
        return made;
    }

    const platform::URLRequest& sent() const { return fake.session->requests.back(); }
    std::string sentBody() const {
        return sent().body ? std::string(platform::viewOf(*sent().body)) : "(none)";
    }
    /// "name=value ..." of the newest request.
    std::string sentHeaders() const {
        std::string text;
        for (const auto& [name, value] : sent().headers()) {
            text.append(text.empty() ? "" : " ").append(name).append("=").append(value);
        }
        return text;
    }
};

}  // namespace korvel::tests
