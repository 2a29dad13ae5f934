#include "Commands.h"
#include "Failure.h"
#include "Host.h"
#include "Interruption.h"
#include "Messages.h"
#include "Options.h"
#include "Output.h"

#include <CLI/CLI.hpp>
#include <csignal>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <iostream>
#include <memory>
#include <optional>
#include <string>

namespace cli {

namespace {

struct ErrorDocument {
    struct Error {
        std::int64_t exitCode = 0;
        std::string message;
        std::optional<std::int64_t> status;
        using JSON = korvel::platform::Members<&Error::exitCode, &Error::message, &Error::status>;
    };
    Error error;
    using JSON = korvel::platform::Members<&ErrorDocument::error>;
};

void report(const Failure& failure, Messages& messages, Output& output) {
    messages.line(std::string("korvel: ") + failure.what());
    if (!output.json()) return;
    output.show(ErrorDocument{{.exitCode = static_cast<std::int64_t>(failure.code),
                               .message = failure.what(),
                               .status = failure.status}},
                [](PageWidth) { return std::string(); });
}

ExitCode run(const Command& command, const Options& options, Interruption& interruption) {
    const auto messages = std::make_shared<Messages>();
    Output output(options.json);
    auto code = ExitCode::ok;
    try {
        Host host(options, messages, interruption);
        command(host, output);
    } catch (const Failure& failure) {
        code = failure.code;
        report(failure, *messages, output);
    } catch (const std::exception& error) {
        code = ExitCode::failed;
        report({code, error.what()}, *messages, output);
    }
    if (!output.write()) {
        messages->line("korvel: the result cannot be written to standard output");
        if (code == ExitCode::ok) code = ExitCode::failed;
    }
    return code;
}

ExitCode runCommandLine(int argc, char** argv, Interruption& interruption) {
    CLI::App app("On-demand fitness classes at the command line", "korvel");
    app.fallthrough();
    app.set_version_flag("--version", KORVEL_VERSION);
    app.footer(
        "Exit codes: 0 ok, 1 this machine, 2 usage, 3 refused by the service, 4 no answer in "
        "time,\n"
        "5 no connection, 6 answer not understood, 7 not logged in, 8 bad address, 9 not found,\n"
        "10 consent required, 11 subscription required, 12 stream failed, 130 interrupted.");
    Options options;
    Command chosen;
    addOptions(app, options);
    addAccountCommands(app, chosen);
    addCatalogueCommands(app, chosen);
#ifdef KORVEL_HAS_PLAYER
    addPlayCommand(app, chosen, options);
#endif
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        return app.exit(error) == 0 ? ExitCode::ok : ExitCode::usage;
    }
    if (!chosen) {
        std::cerr << app.help();
        return ExitCode::usage;
    }
    return run(chosen, options, interruption);
}

}  // namespace

}  // namespace cli

int main(int argc, char** argv) {
    cli::Interruption interruption;
    std::signal(SIGPIPE, SIG_IGN);  // a reader that is gone shows when the result is written
    const auto code = cli::runCommandLine(argc, argv, interruption);
    std::fflush(nullptr);
    // Requests that nobody waits for any more may be under way on background threads; the objects
    // of this process are not to be taken down under them.
    std::quick_exit(static_cast<int>(code));
}
