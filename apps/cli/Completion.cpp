#include "Outline.h"

#include <algorithm>
#include <functional>

namespace cli {

namespace {

using Option = Outline::Option;

std::string spaced(const std::vector<std::string>& texts, const char* separator = " ") {
    std::string result;
    for (const auto& text : texts) result += (result.empty() ? "" : separator) + text;
    return result;
}

/// `text` with each of `special` behind a backslash.
std::string escaped(const std::string& text, const std::string& special) {
    std::string result;
    for (const char character : text) {
        if (special.find(character) != std::string::npos) result += '\\';
        result += character;
    }
    return result;
}

/// For a text between single quotes.
std::string quoted(const std::string& text) {
    std::string result;
    for (const char character : text)
        result += character == '\'' ? "'\\''" : std::string(1, character);
    return "'" + result + "'";
}

std::string optionNames(const Outline::Command& command) {
    std::vector<std::string> names;
    for (const auto& option : command.options) {
        if (!option.isArgument) names.push_back(option.name());
    }
    return spaced(names);
}

std::string commandNames(const Outline& outline) {
    std::vector<std::string> names;
    for (const auto& command : outline.commands) names.push_back(command.name);
    return spaced(names);
}

/// `text(command, option)` of all options that take a value; those of every command come with "*".
std::string forValues(const Outline& outline,
                      const std::function<std::string(const std::string&, const Option&)>& text) {
    std::string result;
    const auto add = [&](const std::string& pattern, const Outline::Command& command) {
        for (const auto& option : command.options) {
            if (!option.isArgument && !option.value.empty()) result += text(pattern, option);
        }
    };
    for (const auto& command : outline.commands) add(command.name, command);
    add("*", outline.program);
    return result;
}

// ------------------------------------------------------------------------------------------
// bash

std::string bashValue(const std::string& command, const Option& option) {
    std::string what;
    if (!option.choices().empty()) what = "-W '" + spaced(option.choices()) + "'";
    if (option.value == "FILE") what = "-f";
    if (option.value == "FOLDER") what = "-d";
    std::string text = "        " + command + "' " + option.name() + "') ";
    if (option.value == "FILE" || option.value == "FOLDER") text += "compopt -o filenames; ";
    if (!what.empty()) text += "mapfile -t COMPREPLY < <(compgen " + what + " -- \"$word\"); ";
    return text + "return ;;\n";
}

std::string bash(const Outline& outline) {
    std::string taking;
    forValues(outline, [&](const std::string&, const Option& option) {
        const bool known =
            ("|" + taking + "|").find("|" + option.name() + "|") != std::string::npos;
        if (!known) taking += (taking.empty() ? "" : "|") + option.name();
        return "";
    });
    std::string text = R"(# Completion of korvel for bash.
_korvel() {
    local word=${COMP_WORDS[COMP_CWORD]} before=${COMP_WORDS[COMP_CWORD-1]} command='' words='' i
    [ "$before" != = ] || before=${COMP_WORDS[COMP_CWORD-2]}
    if [ "$word" = = ]; then word=''; fi
    for ((i = 1; i < COMP_CWORD; i++)); do
        case ${COMP_WORDS[i]} in
        )" + taking + R"() [ "${COMP_WORDS[i+1]}" != = ] || i=$((i + 1)); i=$((i + 1)) ;;
        -*) ;;
        *) command=${COMP_WORDS[i]}; break ;;
        esac
    done
    COMPREPLY=()
    case "$command $before" in
)";
    text += forValues(outline, bashValue) + "    esac\n    case $command in\n";
    text += "        '') words='" + commandNames(outline) + "' ;;\n";
    for (const auto& command : outline.commands) {
        const auto arguments = command.name == "help" ? commandNames(outline) + ' ' : "";
        text +=
            "        " + command.name + ") words='" + arguments + optionNames(command) + "' ;;\n";
    }
    text += "    esac\n    case $word in -*) words=\"$words " + optionNames(outline.program) +
            "\" ;; esac\n";
    return text +
           "    mapfile -t COMPREPLY < <(compgen -W \"$words\" -- \"$word\")\n}\n"
           "complete -F _korvel korvel\n";
}

// ------------------------------------------------------------------------------------------
// zsh

std::string zshOption(const Option& option) {
    std::string action;
    if (!option.choices().empty()) action = "(" + spaced(option.choices()) + ")";
    if (option.value == "FILE") action = "_files";
    if (option.value == "FOLDER") action = "_files -/";
    const auto described = escaped(option.description, "[]:\\");
    if (option.isArgument) {
        return (option.isRequired ? "':" : "'::") + escaped(option.name(), ":") + ":'";
    }
    const auto value = option.value.empty() ? "" : ":" + escaped(option.value, ":") + ":" + action;
    std::string text;
    for (const auto& name : option.names) {
        const auto sign = option.value.empty() ? "" : "=";
        if (!text.empty()) text += ' ';
        auto spelled = name;
        spelled.append(sign).append("[").append(described).append("]").append(value);
        text += quoted(std::as_const(spelled));
    }
    return text;
}

std::string zshOptions(const Outline::Command& command) {
    std::string text;
    for (const auto& option : command.options) text += " \\\n            " + zshOption(option);
    return text;
}

std::string zsh(const Outline& outline) {
    std::string text =
        "#compdef korvel\n# Completion of korvel for zsh.\n"
        "local context state state_descr line\ntypeset -A opt_args\n"
        "local -a every commands\nevery=(\n";
    for (const auto& option : outline.program.options) text += "    " + zshOption(option) + '\n';
    text += ")\ncommands=(\n";
    for (const auto& command : outline.commands) {
        text += "    " + quoted(command.name + ':' + escaped(command.description, ":\\")) + '\n';
    }
    text +=
        ")\n_arguments -C $every '1:command:->command' '*::argument:->rest'\n"
        "case $state in\n"
        "command) _describe -t commands command commands ;;\n"
        "rest)\n    case $words[1] in\n";
    for (const auto& command : outline.commands) {
        if (command.name == "help") {
            text += "    help) _arguments $every '1:command:(" + commandNames(outline) + ")' ;;\n";
            continue;
        }
        text += "    " + command.name + ") _arguments $every" + zshOptions(command) + " ;;\n";
    }
    return text + "    esac ;;\nesac\n";
}

// ------------------------------------------------------------------------------------------
// fish

std::string fishOption(const std::string& condition, const Option& option) {
    std::string text = "complete -c korvel" + condition;
    for (const auto& name : option.names) {
        text += name.starts_with("--") ? " -l " + name.substr(2) : " -s " + name.substr(1);
    }
    if (!option.choices().empty()) {
        text += " -x -a '" + spaced(option.choices()) + "'";
    } else if (option.value == "FILE") {
        text += " -r -F";
    } else if (option.value == "FOLDER") {
        text += " -x -a '(__fish_complete_directories)'";
    } else if (!option.value.empty()) {
        text += " -x";
    }
    return text + " -d '" + escaped(option.description, "\\'") + "'\n";
}

std::string fish(const Outline& outline) {
    std::string text = "# Completion of korvel for fish.\ncomplete -c korvel -f\n";
    for (const auto& option : outline.program.options) text += fishOption("", option);
    const auto none = " -n 'not __fish_seen_subcommand_from " + commandNames(outline) + "'";
    for (const auto& command : outline.commands) {
        text += "complete -c korvel" + none + " -a " + command.name + " -d '" +
                escaped(command.description, "\\'") + "'\n";
        const auto condition = " -n '__fish_seen_subcommand_from " + command.name + "'";
        for (const auto& option : command.options) {
            if (!option.isArgument) text += fishOption(condition, option);
        }
    }
    return text + "complete -c korvel -n '__fish_seen_subcommand_from help' -a '" +
           commandNames(outline) + "'\n";
}

}  // namespace

std::string completion(const Outline& outline, const std::string& shell) {
    return shell == "bash" ? bash(outline) : shell == "zsh" ? zsh(outline) : fish(outline);
}

}  // namespace cli
