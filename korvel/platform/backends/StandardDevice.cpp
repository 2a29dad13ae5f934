#include <korvel/platform/StandardDevice.h>
#include <korvel/platform/backends/curl/StreamLoaderCurl.h>
#include <korvel/platform/backends/curl/URLSessionCurl.h>
#include <korvel/platform/backends/icu/LocaleICU.h>
#include <korvel/platform/backends/journal/LocalyticsJournal.h>
#include <korvel/platform/backends/libsecret/KeychainLibsecret.h>
#include <korvel/platform/backends/sodium/ContentKeySystemSodium.h>
#include <korvel/platform/backends/sqlite/KeychainSQLite.h>
#include <korvel/platform/backends/sqlite/SealedRecordsSQLite.h>
#include <korvel/platform/foundation/SDKBundle.h>
#include <korvel/platform/uikit/Screen.h>

#include <pwd.h>
#include <unistd.h>

#include <array>
#include <cstdlib>
#include <utility>

namespace korvel::platform {

namespace {

std::filesystem::path environmentPath(const char* name) {
    const char* value = std::getenv(name);  // NOLINT(concurrency-mt-unsafe): nobody sets it here
    return value ? value : "";
}

std::string applicationName(const DeviceOptions& options) {
    if (!options.applicationName.empty()) return options.applicationName;
    std::error_code ignored;
    const auto program = std::filesystem::read_symlink("/proc/self/exe", ignored).filename();
    return program.empty() ? "korvel" : program.string();
}

/// `$HOME`, or what the system knows; without either a place below which nothing can be made. Never
/// relative: that would be wherever the process happens to stand.
std::filesystem::path homeFolder() {
    if (auto home = environmentPath("HOME"); home.is_absolute()) return home;
    passwd entry{};
    passwd* found = nullptr;
    std::array<char, 4096> texts{};
    getpwuid_r(geteuid(), &entry, texts.data(), texts.size(), &found);
    const std::filesystem::path home = found && found->pw_dir ? found->pw_dir : "";
    return home.is_absolute() ? home : "/dev/null";
}

std::filesystem::path dataFolder(const DeviceOptions& options) {
    auto base = options.dataFolder;
    if (base.empty()) base = environmentPath("XDG_DATA_HOME");
    if (!base.is_absolute() && options.dataFolder.empty()) {
        base = homeFolder() / ".local" / "share";
    }
    return base / applicationName(options) / "korvel";
}

std::shared_ptr<Keychain> standardKeychain(const DeviceOptions& options) {
    if (options.preferSecretService) {
        if (auto keychain = makeKeychainLibsecret(applicationName(options))) return keychain;
    }
    return makeKeychainSQLite(dataFolder(options));
}

URLSessionCurlOptions transportOf(const DeviceOptions& options) {
    return {.certificateAuthorityFile = options.certificateAuthorityFile,
            .pinnedPublicKey = options.pinnedPublicKey,
            .proxy = options.proxy,
            .proxyFromEnvironment = options.proxyFromEnvironment,
            .largestBody = options.largestAnswer};
}

template <class Part, class Make> void fill(std::shared_ptr<Part>& part, Make make) {
    if (!part) part = make();
}

}  // namespace

void complete(Device& device, const DeviceOptions& options) {
    if (device.largestAnswer == 0) device.largestAnswer = options.largestAnswer;
    fill(device.clock, [] { return std::make_shared<SystemClock>(); });
    fill(device.console, [&]() -> std::shared_ptr<Console> {
        if (options.console) return std::make_shared<ConsoleFunction>(options.console);
        return std::make_shared<StandardOutput>();
    });
    fill(device.locale, [] { return makeLocaleICU(); });
    fill(device.mainQueue,
         [&] { return make<MainQueue>(device.clock, MainQueue::Driver::ownThread); });
    fill(device.urlSession, [&] {
        return makeURLSessionCurl(transportOf(options), [](DispatchQueue::Task task) {
            DispatchQueue::global().async(std::move(task));
        });
    });
    fill(device.keychain, [&] { return standardKeychain(options); });
    fill(device.outbox, [&] { return makeSealedRecordsSQLite(dataFolder(options)); });
    fill(device.localytics, [&] {
        return make<LocalyticsJournal>(
            LocalyticsJournalOptions{.folder = dataFolder(options),
                                     .collectorURL = options.analyticsCollector},
            device.urlSession, DispatchQueue::serial("korvel.analytics"), device.clock);
    });
    fill(device.screen, [&] { return std::make_shared<Screen>(device.mainQueue, device.clock); });
    if (!device.bundle(sdkBundleIdentifier)) {
        if (auto bundle = findSDKBundle()) device.bundles.push_back(std::move(*bundle));
    }
    fill(device.contentKeySystem, [] { return makeContentKeySystemSodium(); });
}

std::shared_ptr<StreamLoader> makeStreamLoader(const DeviceOptions& options) {
    return makeStreamLoaderCurl(transportOf(options));
}

}  // namespace korvel::platform
