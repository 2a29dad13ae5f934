#pragma once

#include <sys/types.h>
#include <array>
#include <cstddef>
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
    /// A terminal has 60 columns, and errors are output; without one there is no input.
    enum class Screen { pipes, terminal };

    Program(std::vector<std::string> arguments, std::vector<std::string> environment,
            Screen screen = Screen::pipes);
    ~Program();
    Program(const Program&) = delete;
    Program& operator=(const Program&) = delete;

    void signal(int number) const;
    void type(std::string_view keys) const;
    /// Whether the terminal shows what is typed, and by whole lines.
    bool echoes() const;
    /// Reads what it writes until it has written `text` since the last call; false if it ends
    /// first.
    bool reads(const std::string& text);
    /// Reads what it writes until it ends.
    Ended wait();

private:
    bool readOnce();

    pid_t process_ = -1;
    int output_ = -1;
    int errors_ = -1;
    std::array<bool, 2> open_{};  ///< output and errors, until their ends
    Ended ended_;
    std::size_t seen_ = 0;
};

}  // namespace korvel::tests
