#pragma once

#include <CLI/App.hpp>
#include <string>
#include <vector>

namespace cli {

/// What the parser knows of the program, as manual and completions need it: they are made of the
/// parser's own words, and never tell of an option that is not there.
struct Outline {
    struct Option {
        std::vector<std::string> names;  ///< "-h", "--help"; the only one of an argument: "TAG"
        std::string value;               ///< "FILE", "asc|desc", ...; empty: it takes none
        std::string description;
        std::string environment;  ///< name of the variable that stands in for it, if there is one
        std::string usual;        ///< what it is when left out, if that is told
        bool isArgument = false;
        bool isRequired = false;

        const std::string& name() const { return names.back(); }
        std::vector<std::string> choices() const;  ///< empty: anything
    };
    struct Command {
        std::string name;
        std::string description;
        std::string examples;  ///< whole command lines, one to a line
        std::vector<Option> options;
    };
    std::string version;  ///< with the program's name
    Command program;      ///< its options hold for every command
    std::vector<Command> commands;
};

Outline outlineOf(const CLI::App& app);

/// For man.
std::string manual(const Outline& outline);
/// For "bash", "zsh" or "fish".
std::string completion(const Outline& outline, const std::string& shell);

}  // namespace cli
