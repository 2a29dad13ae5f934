#pragma once

#include <korvel/doubles/FakeConsole.h>
#include <korvel/doubles/FakeDiagnostics.h>
#include <korvel/doubles/FakeKeychain.h>
#include <korvel/doubles/FakeLocale.h>
#include <korvel/doubles/FakeLocalytics.h>
#include <korvel/doubles/FakeMediaEngine.h>
#include <korvel/doubles/FakeSealedRecords.h>
#include <korvel/doubles/FakeURLSession.h>
#include <korvel/doubles/VirtualClock.h>
#include <korvel/platform/Device.h>

namespace korvel::doubles {

/// A device made of doubles, for the tests of a host: no network, no files, no streams and no time
/// but what the test says. Give `device()` to a `ContentClient`, or to `Device::install` before
/// anything else of the SDK is used. `mainQueue` runs only when the test says so: `clock->settle`,
/// `clock->advance`.
struct FakeDevice {
    /// Console lines, keychain and analytics calls, in order.
    std::shared_ptr<Journal> journal = std::make_shared<Journal>();
    std::shared_ptr<VirtualClock> clock = std::make_shared<VirtualClock>();
    std::shared_ptr<FakeConsole> console = std::make_shared<FakeConsole>(journal);
    std::shared_ptr<FakeDiagnostics> diagnostics = std::make_shared<FakeDiagnostics>();
    std::shared_ptr<FakeKeychain> keychain = std::make_shared<FakeKeychain>(journal);
    std::shared_ptr<platform::SealedRecords> outbox = std::make_shared<FakeSealedRecords>();
    std::shared_ptr<FakeLocale> locale = std::make_shared<FakeLocale>();
    std::shared_ptr<FakeLocalytics> localytics = std::make_shared<FakeLocalytics>(journal);
    std::shared_ptr<FakeURLSession> session = std::make_shared<FakeURLSession>();
    std::shared_ptr<FakeMediaEngine> media = std::make_shared<FakeMediaEngine>(clock);
    std::shared_ptr<platform::MainQueue> mainQueue =
        platform::make<platform::MainQueue>(clock, platform::MainQueue::Driver::manual);

    platform::Device device() const {
        platform::Device device;
        device.clock = clock;
        device.console = console;
        device.diagnostics = diagnostics;
        device.keychain = keychain;
        device.outbox = outbox;
        device.locale = locale;
        device.localytics = localytics;
        device.urlSession = session;
        device.mainQueue = mainQueue;
        device.mediaEngine = media;
        return device;
    }

    /// The analytics events so far, without the uploads.
    std::vector<std::string> events() const {
        std::vector<std::string> events;
        for (const auto& line : journal->lines()) {
            if (line.starts_with("tagEvent ")) events.push_back(line.substr(9));
        }
        return events;
    }
};

}  // namespace korvel::doubles
