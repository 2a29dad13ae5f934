#include "Failure.h"
#include "Outline.h"

#include <sstream>

namespace cli {

namespace {

/// As roff shows it literally; a hyphen stays one that can be typed.
std::string literal(const std::string& text) {
    std::string result;
    for (const char character : text) {
        if (character == '\\') {
            result += "\\(rs";
        } else if (character == '-') {
            result += "\\-";
        } else if ((character == '.' || character == '\'') &&
                   (result.empty() || result.back() == '\n')) {
            result += std::string("\\&") + character;
        } else {
            result += character;
        }
    }
    return result;
}

std::string bold(const std::string& text) { return "\\fB" + literal(text) + "\\fR"; }
std::string italic(const std::string& text) { return "\\fI" + literal(text) + "\\fR"; }

/// "--sort asc|desc", or "CLASS".
std::string spelling(const Outline::Option& option) {
    if (option.isArgument) return italic(option.name());
    std::string result;
    for (const auto& name : option.names) result += (result.empty() ? "" : ", ") + bold(name);
    return option.value.empty() ? result : result + ' ' + italic(option.value);
}

std::string entry(const Outline::Option& option) {
    std::string text = ".TP\n" + spelling(option) + '\n' + literal(option.description);
    if (!option.usual.empty()) text += "; " + literal(option.usual) + " if left out";
    text += '.';
    if (!option.environment.empty()) text += " Environment: " + bold(option.environment) + '.';
    return text + '\n';
}

std::string entries(const std::vector<Outline::Option>& options) {
    std::string text;
    for (const auto& option : options) text += entry(option);
    return text;
}

std::string synopsis(const Outline::Command& command) {
    std::string text = bold("korvel " + command.name);
    for (const auto& option : command.options) {
        text += option.isRequired ? ' ' + spelling(option) : " [" + spelling(option) + ']';
    }
    return text;
}

std::string verbatim(const std::string& lines) {
    return lines.empty() ? "" : ".nf\n.RS\n" + literal(lines) + ".RE\n.fi\n";
}

std::string exitStatus() {
    std::string text;
    for (const auto& [code, meaning] : exitCodes()) {
        text += ".TP\n" + bold(std::to_string(static_cast<int>(code))) + '\n' + literal(meaning) +
                ".\n";
    }
    return text;
}

}  // namespace

std::string manual(const Outline& outline) {
    std::string text = ".TH KORVEL 1 \"\" \"" + literal(outline.version) + "\" \"User Commands\"\n";
    text += ".SH NAME\nkorvel \\- " + literal(outline.program.description) + '\n';
    text += ".SH SYNOPSIS\n" + bold("korvel") + " [" + italic("OPTION") + "]... " +
            italic("COMMAND") + " [" + italic("ARGUMENT") + "]...\n";
    text +=
        ".SH DESCRIPTION\nShows the catalogue of a content service, manages a user\\(aqs "
        "account and plays classes.\nStandard output holds the result and nothing else; "
        "messages go to standard error.\n";
    text += ".SH COMMANDS\n";
    for (const auto& command : outline.commands) {
        text += ".SS " + command.name + '\n' + synopsis(command) + "\n.PP\n" +
                literal(command.description) + ".\n";
        text += entries(command.options) + ".PP\n" + verbatim(command.examples);
    }
    text += ".SH OPTIONS\nThey hold for every command, and stand before or after it.\n" +
            entries(outline.program.options);
    text +=
        ".SH FILES\n.TP\n.I ~/.config/korvel/config\nThe profile, or "
        "$XDG_CONFIG_HOME/korvel/config: lines such as\n.B user = anna\nfor the options that "
        "have an environment variable, used where neither command line nor environment says "
        "otherwise. A line that begins with # is a comment. It may hold secrets, so nobody "
        "else may be allowed to read or write it (chmod 600).\n";
    text += ".SH EXIT STATUS\n" + exitStatus();
    return text + ".SH EXAMPLES\n" + verbatim(outline.program.examples);
}

}  // namespace cli
