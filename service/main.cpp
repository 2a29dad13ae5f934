#include <service/ContentService.h>
#include <service/DevClient.h>

#include <CLI/CLI.hpp>
#include <csignal>
#include <cstdio>
#include <exception>
#include <filesystem>
#include <mutex>
#include <string>
#include <system_error>

namespace {

using korvel::service::ContentService;
using korvel::service::ReceivedRequest;

void printAnswer(const ReceivedRequest& request, int status) {
    static std::mutex oneLineAtATime;
    const std::lock_guard lock(oneLineAtATime);
    const std::string outcome = status == 0 ? "no answer" : std::to_string(status);
    std::printf("%s %s %s (connection %zu, %zu bytes)\n", outcome.c_str(), request.method.c_str(),
                request.target.c_str(), request.connection, request.body.size());
    std::fflush(stdout);
}

void printStart(const ContentService& service, const std::filesystem::path& caFile) {
    std::printf("base URL    %s\n", service.baseURL().c_str());
    if (!caFile.empty()) std::printf("CA file     %s\n", caFile.c_str());
    std::printf("API key     %s\nsecret key  %s\ntenant      %s\n",
                service.options().apiKey.c_str(), service.options().secretKey.c_str(),
                service.options().tenant.c_str());
    std::fflush(stdout);
}

void run(ContentService::Options options, const std::filesystem::path& caOut) {
    // Blocked before the first thread starts, so that every thread inherits it and only sigwait
    // sees them.
    sigset_t ends{};
    sigemptyset(&ends);
    sigaddset(&ends, SIGINT);
    sigaddset(&ends, SIGTERM);
    pthread_sigmask(SIG_BLOCK, &ends, nullptr);

    const ContentService service(std::move(options));
    std::filesystem::path caFile = service.caFile();
    if (!caOut.empty() && !caFile.empty()) {
        std::filesystem::copy_file(caFile, caOut,
                                   std::filesystem::copy_options::overwrite_existing);
        caFile = caOut;
    }
    printStart(service, caFile);
    int signal = 0;
    sigwait(&ends, &signal);
}

}  // namespace

int main(int argc, char** argv) {
    CLI::App app("A content service for development, on this machine only");
    ContentService::Options options{.devInterface = true};
    std::filesystem::path caOut;
    bool plain = false;
    bool quiet = false;
    app.add_option("--port", options.port, "Port to listen on; any free one if left out");
    app.add_flag("--no-tls", plain, "Plain HTTP");
    app.add_option("--ca-out", caOut, "Also write the certificate authority to this file");
    app.add_option("--data", options.data,
                   "Catalogue to serve in place of the one that comes along");
    app.add_option("--api-key", options.apiKey, "API key that clients must use")
        ->capture_default_str();
    app.add_option("--secret-key", options.secretKey, "Secret key that clients must use")
        ->capture_default_str();
    app.add_option("--tenant", options.tenant, "Tenant that clients must name")
        ->capture_default_str();
    app.add_flag("--quiet", quiet, "No line per request");
    std::string url;
    std::filesystem::path caFile;
    auto* state =
        app.add_subcommand("state", "Show users, performances and counters of a running service");
    state->add_option("--url", url, "Its base URL")->required();
    state->add_option("--ca", caFile, "Its certificate authority");
    CLI11_PARSE(app, argc, argv);
    options.tls = !plain;
    if (!quiet) options.onAnswer = printAnswer;
    try {
        if (*state) {
            std::fputs(korvel::service::readDevInterface(url, caFile, "/dev/state").c_str(),
                       stdout);
        } else {
            run(std::move(options), caOut);
        }
    } catch (const std::exception& error) {
        std::fprintf(stderr, "korvel-service: %s\n", error.what());
        return 1;
    }
    return 0;
}
