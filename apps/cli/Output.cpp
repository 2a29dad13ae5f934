#include "Output.h"

#include <sys/ioctl.h>
#include <unistd.h>
#include <cerrno>
#include <charconv>
#include <cstdio>
#include <cstdlib>
#include <string_view>

namespace cli {

namespace {
/// A terminal's own width; elsewhere what $COLUMNS says, if it does.
PageWidth pageWidth() {
    winsize size{};
    if (ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 0) return size.ws_col;
    const char* value = std::getenv("COLUMNS");  // NOLINT(concurrency-mt-unsafe): nobody sets it
    const std::string_view text = value ? value : "";
    std::size_t width = 0;
    std::from_chars(text.data(), text.data() + text.size(), width);
    return width > 0 ? PageWidth(width) : std::nullopt;
}
}  // namespace

Output::Output(bool asJSON) : json_(asJSON), page_(pageWidth()) {}

bool Output::write() const { return writeOut(text_); }

bool writeOut(const std::string& text) {
    const bool written =
        std::fwrite(text.data(), 1, text.size(), stdout) == text.size() && std::fflush(stdout) == 0;
    return written || errno == EPIPE;
}

}  // namespace cli
