// What starting the SDK costs a host, without a network: the first call in a process (median over
// fresh processes) and every further one. The device is this machine's own, its data in a fresh
// folder.
#include <korvel/KorvelContentSDK.h>

#include <benchmark/benchmark.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <vector>

namespace {

using Microseconds = std::chrono::duration<double, std::micro>;

struct Quiet final : korvel::platform::Console {
    void print(std::string_view) override {}
};

double initializeOnce(const std::shared_ptr<korvel::KCSDKConfig>& config) {
    const auto begin = std::chrono::steady_clock::now();
    korvel::KCSDK::initialize(config);
    return Microseconds(std::chrono::steady_clock::now() - begin).count();
}

std::shared_ptr<korvel::KCSDKConfig> prepare(const std::filesystem::path& folder) {
    korvel::platform::Device device;
    device.console = std::make_shared<Quiet>();
    korvel::platform::DeviceOptions options;
    options.applicationName = "bench";
    options.dataFolder = folder;
    if (!korvel::platform::Device::install(device, options)) std::abort();
    return std::make_shared<korvel::KCSDKConfig>("https://localhost:9/", "s", "k", "t", "a");
}

void storeSession() {
    const auto& keychain = korvel::platform::Device::current().keychain;
    const auto value = korvel::platform::bytesOf("value");
    for (const auto* account : {"token", "userId", "userName", "expiryTime"}) {
        const auto status = keychain->SecItemAdd({.account = account, .valueData = value});
        if (status != korvel::platform::errSecSuccess) std::abort();
    }
}

/// `measured` in a process of its own; the data folder stays from run to run, as a host's does.
double inFreshProcess(const std::filesystem::path& data,
                      double (*measured)(const std::filesystem::path&)) {
    int pipeEnds[2];
    if (pipe(pipeEnds) != 0) std::abort();
    const auto child = fork();
    if (child == 0) {
        const auto time = measured(data);
        const auto written = write(pipeEnds[1], &time, sizeof time);
        _exit(written == sizeof time ? 0 : 1);
    }
    close(pipeEnds[1]);
    double time = 0;
    const auto got = read(pipeEnds[0], &time, sizeof time);
    close(pipeEnds[0]);
    int status = 0;
    waitpid(child, &status, 0);
    if (got != sizeof time || status != 0) std::abort();
    return time;
}

double firstInProcess(const std::filesystem::path& data) {
    inFreshProcess(data, [](const auto& kept) {
        prepare(kept);
        storeSession();
        return 0.0;
    });
    return inFreshProcess(data, [](const auto& kept) { return initializeOnce(prepare(kept)); });
}

std::filesystem::path folder;
std::vector<double> further;

void initializeAgain(benchmark::State& state) {
    static const auto config = prepare(folder);
    for (auto step : state) {
        (void)step;
        storeSession();
        further.push_back(initializeOnce(config));
        state.SetIterationTime(further.back() / 1e6);
    }
}
BENCHMARK(initializeAgain)->UseManualTime()->Unit(benchmark::kMicrosecond)->Iterations(500);

double median(std::vector<double> values) {
    std::nth_element(values.begin(),
                     values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2), values.end());
    return values[values.size() / 2];
}

}  // namespace

int main(int argc, char** argv) {
    folder = std::filesystem::temp_directory_path() / ("korvel-bench-" + std::to_string(getpid()));
    std::vector<double> firsts;
    for (int run = 0; run < 41; ++run) firsts.push_back(firstInProcess(folder));
    const auto first = median(firsts);
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    std::filesystem::remove_all(folder);
    const auto again = median(further);
    std::printf("first initialize of a process: %.0f us; a further one: %.0f us (medians)\n", first,
                again);
    const auto worse = std::max(first, again);
    std::printf("initialize_us %.0f 700 %s\n", worse, worse <= 700 ? "ok" : "short");
    return 0;
}
