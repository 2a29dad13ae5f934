#include <korvel/model/KCSDKUserSubscriptionRequest.h>
#include <korvel/model/ServiceTimestamp.h>

#include "support/TestDevice.h"

#include <gtest/gtest.h>

namespace korvel {
namespace {

using namespace std::chrono_literals;

constexpr platform::Date midnight{std::chrono::sys_days{std::chrono::January / 15 / 2025}};

TEST(ServiceTimestamp, IsWrittenInTheDevicesZoneCalendarAndDigits) {
    struct Row {
        const char* identifier;
        const char* timeZone;
        platform::Date date;
        const char* text;
    };
    const std::vector<Row> rows = {
        {"en_US", "Etc/UTC", midnight, "2025-01-15T00:00:00.000+0000"},
        {"de_AT", "Europe/Vienna", midnight, "2025-01-15T01:00:00.000+0100"},
        {"de_AT", "Europe/Vienna", midnight + 24h * 181, "2025-07-15T02:00:00.000+0200"},
        {"en_CA", "America/St_Johns", midnight, "2025-01-14T20:30:00.000-0330"},
        {"en_US", "Etc/UTC", midnight + 1999us, "2025-01-15T00:00:00.001+0000"},
        {"th_TH", "Etc/UTC", midnight, "2568-01-15T00:00:00.000+0000"},
        {"ar_EG", "Etc/UTC", midnight, "٢٠٢٥-٠١-١٥T٠٠:٠٠:٠٠.٠٠٠+0000"},
        {"fa_IR", "Etc/UTC", midnight, "۱۴۰۳-۱۰-۲۶T۰۰:۰۰:۰۰.۰۰۰+0000"},
    };
    for (const Row& row : rows) {
        tests::FakeLocale locale;
        locale.chosenIdentifier = row.identifier;
        locale.chosenTimeZone = row.timeZone;
        EXPECT_EQ(serviceTimestamp(row.date, locale), row.text) << row.identifier;
    }
}

TEST(Subscription, StartsAtTheHostsDateAsTheDeviceWritesIt) {
    const tests::TestDevice device;
    device.locale->chosenTimeZone = "Europe/Vienna";
    ASSERT_TRUE(platform::Device::install(device.device()));

    KCSDKUserSubscriptionRequest request(midnight, "gold");
    EXPECT_EQ(request.start, "2025-01-15T01:00:00.000+0100");
    EXPECT_EQ(request.subscriptionId, "gold");
}

}  // namespace
}  // namespace korvel
