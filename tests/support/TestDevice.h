#pragma once

#include "support/FakeConsole.h"
#include "support/FakeDiagnostics.h"
#include "support/FakeKeychain.h"
#include "support/FakeLocale.h"
#include "support/FakeLocalytics.h"
#include "support/FakeMediaEngine.h"
#include "support/FakeURLSession.h"
#include "support/TemporaryFolder.h"
#include "support/VirtualClock.h"

#include <korvel/platform/Device.h>
#include <korvel/platform/backends/sqlite/SealedRecordsSQLite.h>

namespace korvel::tests {

/// A device made of fakes, but for the outbox: nothing happens but what the test says.
struct TestDevice {
    /// Console lines, keychain and analytics calls, in order.
    std::shared_ptr<Journal> journal = std::make_shared<Journal>();
    std::shared_ptr<VirtualClock> clock = std::make_shared<VirtualClock>();
    std::shared_ptr<FakeConsole> console = std::make_shared<FakeConsole>(journal);
    std::shared_ptr<FakeDiagnostics> diagnostics = std::make_shared<FakeDiagnostics>();
    std::shared_ptr<FakeKeychain> keychain = std::make_shared<FakeKeychain>(journal);
    TemporaryFolder folder;
    std::shared_ptr<platform::SealedRecords> outbox =
        platform::makeSealedRecordsSQLite(folder / "outbox");
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

}  // namespace korvel::tests
