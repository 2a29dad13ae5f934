#include <korvel/platform/foundation/FatalError.h>

#include <cstdio>
#include <cstdlib>

namespace korvel::platform {

void fatalError(std::string_view message) {
    std::fprintf(stderr, "Fatal error: %.*s\n", static_cast<int>(message.size()), message.data());
    std::fflush(stderr);
    std::abort();
}

}  // namespace korvel::platform
