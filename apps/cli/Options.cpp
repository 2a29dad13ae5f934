#include "Options.h"

#include "Values.h"

#include <CLI/CLI.hpp>
#include <cstdlib>

namespace cli {

namespace {
constexpr double shortestTimeout = 0.1;
constexpr double longestTimeout = 86400;

std::filesystem::path environmentPath(const char* name) {
    const char* value = std::getenv(name);  // NOLINT(concurrency-mt-unsafe): nobody sets it here
    return value ? value : "";
}
}  // namespace

void addOptions(CLI::App& app, Options& options) {
    app.add_option("--url", options.url, "Address of the service, with a \"/\" at its end")
        ->envname("KORVEL_URL")
        ->type_name("URL");
    app.add_option("--api-key", options.apiKey, "API key of this client")
        ->envname("KORVEL_API_KEY")
        ->type_name("KEY");
    app.add_option("--secret-key", options.secretKey,
                   "Secret key of this client; others can see it on a command line")
        ->envname("KORVEL_SECRET_KEY")
        ->type_name("KEY");
    app.add_option("--tenant", options.tenant, "Tenant of this client")
        ->envname("KORVEL_TENANT")
        ->type_name("NAME");
    takesFile(app.add_option("--ca", options.authorityFile,
                             "PEM file of the authority to trust instead of the system's")
                  ->envname("KORVEL_CA"));
    app.add_option("--data-folder", options.dataFolder, "Folder for what outlives a process")
        ->envname("KORVEL_DATA_FOLDER")
        ->type_name("FOLDER");
    app.add_option("--user", options.user, "User to log in for commands that need one")
        ->envname("KORVEL_USER")
        ->type_name("NAME");
    takesSeconds(app.add_option("--timeout", options.timeout, "Seconds to wait for each answer")
                     ->envname("KORVEL_TIMEOUT")
                     ->capture_default_str(),
                 shortestTimeout, longestTimeout);
    app.add_flag("--json", options.json, "Write one JSON document instead of tables");
    app.add_flag("--verbose", options.verbose, "Tell every request on standard error");
}

std::filesystem::path userFolder(const char* variable, const char* usual) {
    const auto folder = environmentPath(variable);
    return folder.is_absolute() ? folder : environmentPath("HOME") / usual;
}

std::filesystem::path dataFolder(const Options& options) {
    if (!options.dataFolder.empty()) return options.dataFolder;
    return userFolder("XDG_DATA_HOME", ".local/share");
}

}  // namespace cli
