#include "Program.h"
#include "support/TemporaryFolder.h"

#include <fcntl.h>
#include <pty.h>
#include <termios.h>
#include <array>
#include <stdexcept>

namespace korvel::tests {

namespace {

std::vector<char*> pointers(std::vector<std::string>& texts) {
    std::vector<char*> result(texts.size() + 1);  // a null pointer ends it
    for (std::size_t i = 0; i < texts.size(); ++i) result[i] = texts[i].data();
    return result;
}

void require(bool fulfilled, const char* what) {
    if (!fulfilled) throw std::runtime_error(what);
}

std::string contents(int file) { return readFile("/proc/self/fd/" + std::to_string(file)); }

}  // namespace

Program::Program(std::vector<std::string> arguments, std::vector<std::string> environment,
                 Screen screen) {
    arguments.insert(arguments.begin(), KORVEL_PROGRAM);
    std::array<int, 3> files{};  // input, output, errors
    if (screen == Screen::terminal) {
        const winsize size{.ws_row = 24, .ws_col = 60, .ws_xpixel = 0, .ws_ypixel = 0};
        require(openpty(&output_, files.data(), nullptr, nullptr, &size) == 0, "no terminal");
        for (const int end : {output_, files[0]}) fcntl(end, F_SETFD, FD_CLOEXEC);
        files.fill(files[0]);
    } else {
        files[0] = open("/dev/null", O_RDONLY | O_CLOEXEC);
        files[1] = output_ = memfd_create("output", MFD_CLOEXEC);
        files[2] = errors_ = memfd_create("errors", MFD_CLOEXEC);
        if (screen == Screen::goneReader) {
            std::array<int, 2> ends{};
            require(pipe2(ends.data(), O_CLOEXEC) == 0, "no pipe");
            close(ends[0]);
            files[1] = ends[1];
        }
    }
    const auto words = pointers(arguments);
    const auto variables = pointers(environment);
    process_.emplace([&] {
        for (int stream = 0; const int file : files) dup2(file, stream++);
        execve(words[0], words.data(), variables.data());
        _exit(127);
    });
    close(files[0]);
    if (screen == Screen::goneReader) close(files[1]);
}

Program::~Program() {
    process_->kill();
    close(output_);
    if (errors_ >= 0) close(errors_);
}

void Program::type(std::string_view keys) const {
    require(write(output_, keys.data(), keys.size()) == static_cast<ssize_t>(keys.size()),
            "the terminal takes no keys");
}

bool Program::echoes() const {
    termios settings{};
    require(tcgetattr(output_, &settings) == 0, "no terminal");
    return (settings.c_lflag & (ICANON | ECHO)) == (ICANON | ECHO);
}

bool Program::readTerminal() {
    char bytes[4096];
    const auto count = read(output_, bytes, sizeof bytes);
    if (count > 0) ended_.output.append(bytes, static_cast<std::size_t>(count));
    return count > 0;
}

bool Program::reads(const std::string& text) {
    for (;;) {
        const auto found = ended_.output.find(text, seen_);
        if (found != std::string::npos) {
            seen_ = found + text.size();
            return true;
        }
        if (!readTerminal()) return false;
    }
}

Ended Program::wait() {
    while (errors_ < 0 && readTerminal()) {
    }
    ended_.code = process_->code();
    if (errors_ >= 0) {
        ended_.output = contents(output_);
        ended_.errors = contents(errors_);
    }
    return ended_;
}

}  // namespace korvel::tests
