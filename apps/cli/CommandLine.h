#pragma once

#include "Commands.h"
#include "Failure.h"
#include "Options.h"

#include <CLI/App.hpp>
#include <memory>
#include <optional>
#include <string>

namespace cli {

/// The program's commands and options, and what a command line wants of them.
class CommandLine {
public:
    CommandLine();
    CommandLine(const CommandLine&) = delete;
    CommandLine& operator=(const CommandLine&) = delete;

    /// Nothing if there is a command to run, else how the program ends: what it was asked to show
    /// has been shown, or what is wrong has been said.
    std::optional<ExitCode> parse(int argc, const char* const* argv);

    const Command& command() const { return chosen_; }
    const Options& options() const { return options_; }

private:
    void addHelp();
    void addDocumentation();
    std::optional<ExitCode> act();
    ExitCode refuse(const CLI::ParseError& error) const;
    std::string unknownWord() const;
    std::string wholeHelp() const;
    const CLI::App* named(const std::string& command) const;

    Options options_;
    Command chosen_;
    std::unique_ptr<CLI::App> app_;
    std::optional<std::string> helpTopic_;  ///< empty: all
    std::string completedShell_;
    bool printsManual_ = false;
};

}  // namespace cli
