#include <korvel/model/KCSDKUserSubscriptionRequest.h>

#include "support/TestDevice.h"

#include <gtest/gtest.h>

namespace korvel {
namespace {

constexpr platform::Date midnight{std::chrono::sys_days{std::chrono::January / 15 / 2025}};

TEST(Subscription, StartsAtTheHostsDateAsTheDeviceWritesIt) {
    const tests::TestDevice device;
    device.locale->chosenIdentifier = "th_TH";
    device.locale->chosenTimeZone = "Europe/Vienna";
    ASSERT_TRUE(platform::Device::install(device.device()));

    KCSDKUserSubscriptionRequest request(midnight + std::chrono::microseconds(1999), "gold");
    EXPECT_EQ(request.start, "2568-01-15T01:00:00.001+0100");
    EXPECT_EQ(request.subscriptionId, "gold");
}

}  // namespace
}  // namespace korvel
