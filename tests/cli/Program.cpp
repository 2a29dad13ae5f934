#include "Program.h"

#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sys/ioctl.h>
#include <sys/wait.h>
#include <termios.h>
#include <unistd.h>
#include <csignal>
#include <cstdlib>
#include <stdexcept>

namespace korvel::tests {

namespace {

constexpr unsigned short terminalColumns = 60;

std::vector<char*> pointers(std::vector<std::string>& texts) {
    std::vector<char*> result;
    for (auto& text : texts) result.push_back(text.data());
    result.push_back(nullptr);
    return result;
}

void require(bool fulfilled, const char* what) {
    if (!fulfilled) throw std::runtime_error(what);
}

struct Ends {
    int ours = -1;
    int theirs = -1;
};

Ends makePipe() {
    int ends[2];
    require(pipe2(ends, O_CLOEXEC) == 0, "no pipe");
    return {ends[0], ends[1]};
}

Ends makeTerminal() {
    const int ours = posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC);
    require(ours >= 0 && grantpt(ours) == 0 && unlockpt(ours) == 0, "no terminal");
    char name[64];
    require(ptsname_r(ours, name, sizeof name) == 0, "no name for the terminal");
    const int theirs = open(name, O_RDWR | O_NOCTTY | O_CLOEXEC);
    const winsize size{.ws_row = 24, .ws_col = terminalColumns, .ws_xpixel = 0, .ws_ypixel = 0};
    require(theirs >= 0 && ioctl(theirs, TIOCSWINSZ, &size) == 0, "no terminal of that size");
    return {ours, theirs};
}

}  // namespace

Program::Program(std::vector<std::string> arguments, std::vector<std::string> environment,
                 Screen screen) {
    arguments.insert(arguments.begin(), KORVEL_PROGRAM);
    const bool terminal = screen == Screen::terminal;
    const auto output = terminal ? makeTerminal() : makePipe();
    const auto errors = terminal ? Ends{} : makePipe();
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    if (terminal) {
        posix_spawn_file_actions_adddup2(&actions, output.theirs, STDIN_FILENO);
    } else {
        posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
    }
    posix_spawn_file_actions_adddup2(&actions, output.theirs, STDOUT_FILENO);
    posix_spawn_file_actions_adddup2(&actions, terminal ? output.theirs : errors.theirs,
                                     STDERR_FILENO);
    const int failed = posix_spawn(&process_, KORVEL_PROGRAM, &actions, nullptr,
                                   pointers(arguments).data(), pointers(environment).data());
    posix_spawn_file_actions_destroy(&actions);
    close(output.theirs);
    if (!terminal) close(errors.theirs);
    output_ = output.ours;
    errors_ = errors.ours;
    open_ = {true, !terminal};
    require(failed == 0, "the program does not start");
}

Program::~Program() {
    if (process_ > 0) {
        kill(process_, SIGKILL);
        waitpid(process_, nullptr, 0);
    }
    close(output_);
    if (errors_ >= 0) close(errors_);
}

void Program::signal(int number) const { kill(process_, number); }

void Program::type(std::string_view keys) const {
    require(write(output_, keys.data(), keys.size()) == static_cast<ssize_t>(keys.size()),
            "the terminal takes no keys");
}

bool Program::echoes() const {
    termios settings{};
    require(tcgetattr(output_, &settings) == 0, "no terminal");
    return (settings.c_lflag & (ICANON | ECHO)) == (ICANON | ECHO);
}

bool Program::readOnce() {
    pollfd sources[] = {{open_[0] ? output_ : -1, POLLIN, 0}, {open_[1] ? errors_ : -1, POLLIN, 0}};
    if (!open_[0] && !open_[1]) return false;
    poll(sources, 2, -1);
    for (std::size_t i = 0; i < open_.size(); ++i) {
        if (sources[i].revents == 0) continue;
        char bytes[4096];
        const auto count = read(sources[i].fd, bytes, sizeof bytes);
        if (count > 0) {
            (i == 0 ? ended_.output : ended_.errors).append(bytes, static_cast<std::size_t>(count));
        } else {
            open_[i] = false;
        }
    }
    return true;
}

bool Program::reads(const std::string& text) {
    for (;;) {
        const auto found = ended_.output.find(text, seen_);
        if (found != std::string::npos) {
            seen_ = found + text.size();
            return true;
        }
        if (!readOnce()) return false;
    }
}

Ended Program::wait() {
    while (readOnce()) {
    }
    int status = 0;
    waitpid(process_, &status, 0);
    process_ = -1;
    ended_.code = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    return ended_;
}

}  // namespace korvel::tests
