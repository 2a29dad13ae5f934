#include <korvel/platform/foundation/Console.h>

#include <cstdio>
#include <string>
#include <utility>

namespace korvel::platform {

Console::~Console() = default;

void StandardOutput::print(std::string_view line) {
    const std::string whole = std::string(line) + '\n';
    std::fwrite(whole.data(), 1, whole.size(),
                stdout);  // one call: stdio locks the stream around it
    std::fflush(stdout);
}

ConsoleFunction::ConsoleFunction(Line take) : take_(std::move(take)) {}

void ConsoleFunction::print(std::string_view line) { take_(line); }

}  // namespace korvel::platform
