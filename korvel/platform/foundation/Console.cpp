#include <korvel/platform/foundation/Console.h>

#include <cstdio>
#include <string>

namespace korvel::platform {

Console::~Console() = default;

void StandardOutput::print(std::string_view line) {
    const std::string whole = std::string(line) + '\n';
    std::fwrite(whole.data(), 1, whole.size(),
                stdout);  // one call: stdio locks the stream around it
    std::fflush(stdout);
}

}  // namespace korvel::platform
