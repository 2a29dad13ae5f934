#include "CommandLine.h"
#include "Failure.h"
#include "Host.h"
#include "Interruption.h"
#include "Messages.h"
#include "Output.h"

#include <csignal>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <exception>
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
    CommandLine line;
    if (const auto end = line.parse(argc, argv)) return *end;
    return run(line.command(), line.options(), interruption);
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
