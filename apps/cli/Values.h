#pragma once

#include <CLI/App.hpp>
#include <cstdint>
#include <string>
#include <vector>

namespace cli {

// What options and arguments take. The service answers a value that it does not understand with
// everything, so such a value is refused here. Help, manual and completion show the type's name:
// alternatives with a "|" between them, "FILE" and "FOLDER" for what the shell can complete.

void takesOneOf(CLI::Option* option, const std::vector<std::string>& values);
/// A whole number of at least `least`.
void takesNumber(CLI::Option* option, std::int64_t least);
/// Seconds, whole or not, from `least` to `most`.
void takesSeconds(CLI::Option* option, double least, double most);
/// "20", "10-30", "-30" or "30-".
void takesRange(CLI::Option* option);
/// The tag or name of something, which is not empty and must be given.
void takesName(CLI::Option* option);
/// A file to read.
void takesFile(CLI::Option* option);
/// A file to write, in a folder that is there.
void takesNewFile(CLI::Option* option);

}  // namespace cli
