#include "Keyboard.h"

#include <poll.h>
#include <sys/eventfd.h>
#include <termios.h>
#include <unistd.h>
#include <array>
#include <cerrno>
#include <csignal>
#include <utility>

namespace cli {

namespace {

/// What signal handlers need, which know no objects.
termios before;
termios unechoed;

constexpr std::array endings{SIGINT,  SIGTERM, SIGHUP, SIGQUIT, SIGABRT,
                             SIGSEGV, SIGBUS,  SIGFPE, SIGILL};

void leave(int signal) {
    tcsetattr(STDIN_FILENO, TCSANOW, &before);
    raise(signal);  // its default action, by now
}

void stopForAWhile(int) {
    const int error = errno;
    tcsetattr(STDIN_FILENO, TCSANOW, &before);
    raise(SIGSTOP);
    tcsetattr(STDIN_FILENO, TCSANOW, &unechoed);
    errno = error;
}

void handle(int signal, void (*handler)(int), int flags) {
    struct sigaction action {};
    action.sa_handler = handler;
    action.sa_flags = flags;
    sigaction(signal, &action, nullptr);
}

/// Whether the terminal on standard input listens to us and not to a program in the foreground.
bool isOurs() {
    const auto foreground = tcgetpgrp(STDIN_FILENO);
    return isatty(STDIN_FILENO) == 1 && (foreground == -1 || foreground == getpgrp());
}

bool takeTerminal() {
    if (!isOurs() || tcgetattr(STDIN_FILENO, &before) != 0) return false;
    unechoed = before;
    unechoed.c_lflag &= ~static_cast<tcflag_t>(ICANON | ECHO);
    unechoed.c_cc[VMIN] = 1;
    unechoed.c_cc[VTIME] = 0;
    for (const int signal : endings) handle(signal, leave, static_cast<int>(SA_RESETHAND));
    handle(SIGTSTP, stopForAWhile, SA_RESTART);
    return tcsetattr(STDIN_FILENO, TCSANOW, &unechoed) == 0;
}

void giveTerminalBack() {
    tcsetattr(STDIN_FILENO, TCSANOW, &before);
    for (const int signal : endings) handle(signal, SIG_DFL, 0);
    handle(SIGTSTP, SIG_DFL, 0);
}

}  // namespace

std::optional<Key> KeyReader::take(char byte) {
    constexpr char escape = '\x1b';
    const auto state = std::exchange(state_, State::outside);
    if (byte == escape) {
        state_ = State::afterEscape;
    } else if (state == State::afterEscape && (byte == '[' || byte == 'O')) {
        state_ = State::inSequence;
    } else if (state == State::inSequence) {
        if (byte == 'C') return Key::forward;
        if (byte == 'D') return Key::back;
        if (byte < '@') state_ = State::inSequence;  // its parameters
    } else if (byte == ' ' || byte == 'p') {
        return Key::pause;
    } else if (byte == 'h' || byte == 'l') {
        return byte == 'h' ? Key::back : Key::forward;
    } else if (byte == 'q') {
        return Key::stop;
    }
    return std::nullopt;
}

Keyboard::Keyboard(std::shared_ptr<korvel::platform::MainQueue> queue,
                   std::function<void(Key)> pressed)
    : queue_(std::move(queue)),
      pressed_(std::make_shared<std::function<void(Key)>>(std::move(pressed))) {
    if (!takeTerminal()) return;
    ended_ = eventfd(0, EFD_CLOEXEC);
    reader_ = std::thread([this, weak = std::weak_ptr(pressed_)] { read(weak); });
}

Keyboard::~Keyboard() {
    if (!isThere()) return;
    eventfd_write(ended_, 1);
    reader_.join();
    close(ended_);
    giveTerminalBack();
}

void Keyboard::read(const std::weak_ptr<std::function<void(Key)>>& pressed) const {
    KeyReader keys;
    for (std::array<pollfd, 2> sources{{{STDIN_FILENO, POLLIN, 0}, {ended_, POLLIN, 0}}};;) {
        if (poll(sources.data(), sources.size(), -1) < 0 && errno == EINTR) continue;
        if (sources[1].revents != 0) return;
        std::array<char, 64> bytes{};
        const auto count = ::read(STDIN_FILENO, bytes.data(), bytes.size());
        if (count < 0 && errno == EINTR) continue;
        if (count <= 0) return;  // the terminal has gone
        for (const char byte : std::string_view(bytes.data(), static_cast<std::size_t>(count))) {
            if (const auto key = keys.take(byte)) {
                queue_->async([pressed, key = *key] {
                    if (const auto alive = pressed.lock()) (*alive)(key);
                });
            }
        }
    }
}

}  // namespace cli
