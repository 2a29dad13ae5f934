#pragma once

#include <CLI/App.hpp>
#include <functional>
#include <string>
#include <utility>

namespace cli {

class Host;
struct Options;
class Output;

/// What a command line asks for.
using Command = std::function<void(Host&, Output&)>;

/// Each adds its commands to `app`; parsing puts the one that was asked for into `chosen`, which
/// must live until then.
void addCatalogueCommands(CLI::App& app, Command& chosen);
void addAccountCommands(CLI::App& app, Command& chosen);
/// Where the SDK has been built with a player. `options` gets the player, if that is chosen.
void addPlayCommand(CLI::App& app, Command& chosen, Options& options);

/// Has `action` chosen where `command` is asked for.
inline void onCommand(CLI::App* command, Command& chosen, Command action) {
    command->callback([&chosen, action = std::move(action)] { chosen = action; });
}

/// `examples`: command lines, one to a line, without "korvel ".
void setExamples(CLI::App* command, const std::string& examples);

}  // namespace cli
