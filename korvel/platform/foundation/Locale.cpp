#include <korvel/platform/foundation/Locale.h>

namespace korvel::platform {

Locale::~Locale() = default;

}  // namespace korvel::platform
