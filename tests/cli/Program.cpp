#include "Program.h"

#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sys/ioctl.h>
#include <sys/wait.h>
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
    posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
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

Ended Program::wait() {
    Ended ended;
    pollfd sources[] = {{output_, POLLIN, 0}, {errors_, POLLIN, 0}};
    while (sources[0].fd >= 0 || sources[1].fd >= 0) {
        poll(sources, 2, -1);
        for (auto& source : sources) {
            if (source.fd < 0 || source.revents == 0) continue;
            char bytes[4096];
            const auto count = read(source.fd, bytes, sizeof bytes);
            if (count > 0) {
                (&source == sources ? ended.output : ended.errors)
                    .append(bytes, static_cast<std::size_t>(count));
            } else {
                source.fd = -1;
            }
        }
    }
    int status = 0;
    waitpid(process_, &status, 0);
    process_ = -1;
    ended.code = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    return ended;
}

}  // namespace korvel::tests
