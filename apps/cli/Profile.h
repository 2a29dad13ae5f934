#pragma once

#include <CLI/App.hpp>
#include <string>

namespace cli {

/// Takes what neither command line nor environment say about the options of `app` from the user's
/// profile, $XDG_CONFIG_HOME/korvel/config or ~/.config/korvel/config: lines such as "api-key =
/// abc" for each option that has an environment variable, and comments behind "#" at a line's
/// beginning. It holds secrets, so one that others can read or write is refused. Before `app`
/// parses. Returns what is wrong with it; nothing if nothing is, or if there is no profile.
std::string readProfile(CLI::App& app);

}  // namespace cli
