#pragma once

#include <CLI/App.hpp>
#include <functional>
#include <string>

namespace cli {

class Host;
class Output;

/// What a command line asks for.
using Command = std::function<void(Host&, Output&)>;

/// Each adds its commands to `app`; parsing puts the one that was asked for into `chosen`, which
/// must live until then.
void addCatalogueCommands(CLI::App& app, Command& chosen);
void addAccountCommands(CLI::App& app, Command& chosen);

/// For arguments that must hold something.
inline std::string complaintIfEmpty(const std::string& text) {
    return text.empty() ? "must not be empty" : "";
}

}  // namespace cli
