#pragma once

#include <korvel/network/Failure.h>

#include <cstdint>
#include <optional>
#include <span>
#include <stdexcept>
#include <string>

namespace cli {

/// What the program tells the shell. The numbers are documented in README.md and never change.
enum class ExitCode {
    ok = 0,
    failed = 1,  ///< this machine's fault: data folder, output
    usage = 2,
    rejected = 3,
    noAnswer = 4,
    noConnection = 5,
    notUnderstood = 6,
    notLoggedIn = 7,
    badAddress = 8,
    notFound = 9,
    consentRequired = 10,
    subscriptionRequired = 11,
    streamFailed = 12,
    interrupted = 130,
};

struct ExitCodeMeaning {
    ExitCode code;
    const char* text;
};
/// All of them, in order.
std::span<const ExitCodeMeaning> exitCodes();

/// The reason why a command ends without a result.
class Failure : public std::runtime_error {
public:
    Failure(ExitCode exitCode, const std::string& message,
            std::optional<std::int64_t> httpStatus = std::nullopt)
        : std::runtime_error(message), code(exitCode), status(httpStatus) {}

    ExitCode code;
    std::optional<std::int64_t> status;  ///< the service's, if it answered
};

inline Failure interrupted() { return {ExitCode::interrupted, "interrupted"}; }

Failure badAddress(const std::string& address);

struct Options;

/// Why an operation ended without a value, in words for the person at the keyboard.
Failure failureOf(const korvel::Failure& failure, const Options& options);
/// The media parts' reason, or what else there is.
std::string reasonIn(const korvel::NSError& error);

}  // namespace cli
