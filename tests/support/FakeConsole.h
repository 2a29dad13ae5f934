#pragma once

#include "support/Hook.h"

#include <korvel/platform/foundation/Console.h>

#include <mutex>
#include <string>
#include <utility>
#include <vector>

namespace korvel::tests {

/// Keeps the lines. Any thread.
class FakeConsole final : public platform::Console {
public:
    /// Called with each line: for tests that look at the order across several
    /// fakes.
    Hook<const std::string&> onPrint;

    void print(std::string_view line) override {
        onPrint(std::string(line));
        const std::lock_guard lock(mutex_);
        lines_.emplace_back(line);
    }

    std::vector<std::string> lines() const {
        const std::lock_guard lock(mutex_);
        return lines_;
    }

    /// The lines since the last call.
    std::vector<std::string> takeLines() {
        const std::lock_guard lock(mutex_);
        return std::exchange(lines_, {});
    }

private:
    mutable std::mutex mutex_;
    std::vector<std::string> lines_;
};

}  // namespace korvel::tests
