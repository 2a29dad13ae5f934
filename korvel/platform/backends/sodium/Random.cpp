#include <korvel/platform/foundation/FatalError.h>
#include <korvel/platform/foundation/Random.h>

#include <sodium/core.h>
#include <sodium/randombytes.h>

namespace korvel::platform {

std::uint32_t randomUInt32() {
    static const bool ready = sodium_init() >= 0;
    if (!ready) fatalError("The system has no source of random numbers.");
    return randombytes_random();
}

}  // namespace korvel::platform
