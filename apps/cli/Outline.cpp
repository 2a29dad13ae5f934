#include "Outline.h"

#include "Commands.h"

#include <CLI/CLI.hpp>
#include <sstream>

namespace cli {

namespace {

constexpr const char* examplesTitle = "Examples:\n";
constexpr const char* programBefore = "  korvel ";

std::string examplesIn(const CLI::App& app) {
    std::istringstream lines(app.get_footer());
    std::string result;
    for (std::string line; std::getline(lines, line);) {
        if (line.starts_with(programBefore)) result += line.substr(2) + '\n';
    }
    return result;
}

Outline::Option outlineOf(const CLI::Option& option) {
    Outline::Option result;
    result.isArgument = option.get_positional();
    if (result.isArgument) {
        result.names.push_back(option.get_name(true));
    } else {
        for (const auto& name : option.get_snames()) result.names.push_back("-" + name);
        for (const auto& name : option.get_lnames()) result.names.push_back("--" + name);
    }
    if (option.get_items_expected_max() > 0) result.value = option.get_type_name();
    result.description = option.get_description();
    result.environment = option.get_envname();
    result.usual = option.get_default_str();
    result.isRequired = option.get_required();
    return result;
}

/// Help is the program's option, and each command's.
Outline::Command commandIn(const CLI::App& app) {
    Outline::Command result;
    result.name = app.get_name();
    result.description = app.get_description();
    result.examples = examplesIn(app);
    for (const auto* option : app.get_options()) {
        const bool isHidden =
            option->get_group().empty() || (app.get_parent() && option == app.get_help_ptr());
        if (!isHidden) result.options.push_back(outlineOf(*option));
    }
    return result;
}

}  // namespace

void setExamples(CLI::App* command, const std::string& examples) {
    std::istringstream lines(examples);
    std::string text = examplesTitle;
    for (std::string line; std::getline(lines, line);) text += programBefore + line + '\n';
    command->footer(text);
}

std::vector<std::string> Outline::Option::choices() const {
    if (value.find('|') == std::string::npos) return {};
    std::vector<std::string> result;
    std::istringstream parts(value);
    for (std::string part; std::getline(parts, part, '|');) result.push_back(part);
    return result;
}

Outline outlineOf(const CLI::App& app) {
    Outline outline{.version = app.version(), .program = commandIn(app), .commands = {}};
    for (const auto* command : app.get_subcommands([](const CLI::App*) { return true; })) {
        outline.commands.push_back(commandIn(*command));
    }
    return outline;
}

}  // namespace cli
