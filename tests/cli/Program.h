#pragma once

#include <sys/types.h>
#include <string>
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
    enum class Screen { pipes, terminal };  ///< a terminal has 60 columns, and errors are output

    Program(std::vector<std::string> arguments, std::vector<std::string> environment,
            Screen screen = Screen::pipes);
    ~Program();
    Program(const Program&) = delete;
    Program& operator=(const Program&) = delete;

    void signal(int number) const;
    /// Reads what it writes until it ends.
    Ended wait();

private:
    pid_t process_ = -1;
    int output_ = -1;
    int errors_ = -1;
};

}  // namespace korvel::tests
