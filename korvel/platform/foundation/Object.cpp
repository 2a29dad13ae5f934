#include <korvel/platform/foundation/Object.h>

namespace korvel::platform {

Object::~Object() = default;

}  // namespace korvel::platform
