#include "Messages.h"

#include "Text.h"

#include <sys/ioctl.h>
#include <unistd.h>
#include <cstdio>
#include <utility>

namespace cli {

namespace {
constexpr std::string_view eraseLine = "\r\x1b[K";

/// A line that wraps cannot be erased.
std::string onOneLine(std::string_view text) {
    winsize size{};
    const bool known = ioctl(STDERR_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 1;
    return known ? fitted(text, size.ws_col - 1U) : std::string(text);
}
}  // namespace

Messages::Messages() : terminal_(isatty(STDERR_FILENO) == 1) {}

void Messages::line(std::string_view text) {
    const std::lock_guard lock(mutex_);
    std::string bytes;
    if (!progress_.empty()) bytes += eraseLine;
    bytes += printable(text) + '\n' + progress_;
    write(bytes);
}

void Messages::progress(std::string_view text) {
    if (!terminal_) return;
    const std::lock_guard lock(mutex_);
    auto line = onOneLine(text);
    if (line == progress_) return;
    progress_ = std::move(line);
    write(std::string(eraseLine) + progress_);
}

void Messages::write(std::string_view text) {
    std::fwrite(text.data(), 1, text.size(), stderr);
    std::fflush(stderr);
}

}  // namespace cli
