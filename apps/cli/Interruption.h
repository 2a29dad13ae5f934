#pragma once

#include <stop_token>

namespace cli {

/// Ctrl-C and SIGTERM as a request to stop, so that a command ends in order. A second one ends the
/// process at once, whatever it is doing.
class Interruption {
public:
    /// Before the process's first thread, which would not inherit the blocked signals otherwise.
    Interruption();

    /// Its callbacks run on a background thread.
    std::stop_token token() const { return source_.get_token(); }
    bool came() const { return source_.stop_requested(); }

private:
    std::stop_source source_;
};

}  // namespace cli
