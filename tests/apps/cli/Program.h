#pragma once

#include "support/ChildProcess.h"

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace korvel::tests {

struct Ended {
    int code = -1;  ///< 128 and the signal's number if one ended it
    std::string output;
    std::string errors;
};

/// The command-line host as a process of its own, with `environment` alone around it.
class Program {
public:
    /// A terminal has 60 columns, and errors are output; without one there is no input. A reader
    /// that is gone reads no output.
    enum class Screen { files, terminal, goneReader };

    Program(std::vector<std::string> arguments, std::vector<std::string> environment,
            Screen screen = Screen::files);
    ~Program();
    Program(const Program&) = delete;
    Program& operator=(const Program&) = delete;

    void signal(int number) const { process_->signal(number); }
    void type(std::string_view keys) const;
    /// Whether the terminal shows what is typed, and by whole lines.
    bool echoes() const;
    /// Reads the terminal until it has shown `text` since the last call; false if the program ends
    /// first.
    bool reads(const std::string& text);
    /// Waits for its end.
    Ended wait();

private:
    bool readTerminal();

    std::optional<ChildProcess> process_;
    int output_ = -1;  ///< a file, or our end of the terminal
    int errors_ = -1;  ///< a file, unless there is a terminal
    Ended ended_;
    std::size_t seen_ = 0;
};

}  // namespace korvel::tests
