#pragma once

#include <korvel/platform/foundation/Console.h>

#include <memory>
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

/// The SDK's own lines belong on standard error here, and only if somebody asked for them: standard
/// output is the result's.
class MessageConsole final : public korvel::platform::Console {
public:
    explicit MessageConsole(std::shared_ptr<Messages> messages);  ///< null: lines are dropped
    void print(std::string_view line) override;

private:
    std::shared_ptr<Messages> messages_;
};

}  // namespace cli
