#pragma once

#include <mutex>
#include <string>
#include <string_view>

namespace cli {

/// Standard error: messages for people, and a line of progress if it is a terminal. Any thread.
class Messages {
public:
    Messages();

    bool onTerminal() const { return terminal_; }
    void line(std::string_view text);
    /// Shows `text` in place of the progress shown before; empty: takes it away.
    void progress(std::string_view text);

private:
    void write(std::string_view text);

    std::mutex mutex_;
    const bool terminal_;
    std::string progress_;
};

}  // namespace cli
